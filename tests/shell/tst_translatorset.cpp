#include "shell/translatorset.h"
#include "tests/support/testsupport.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace {

const char* const kCatalog = "VeltronaHolterECG_es";

QString inEnglishOrSpanish()
{
    return QCoreApplication::translate("MainWindow", "Download study");
}

// Only catalogs that load are installed: a missing, corrupt or empty one is passed over and the
// texts stay in English. The set removes what it installed.
TEST(TranslatorSet, InstallsOnlyCatalogsThatLoadAndRemovesThemWithTheSet)
{
    testsupport::TempRoot dir;
    testsupport::writeAll(dir.file("corrupt_es.qm"), QByteArray(64, '\x5a'));
    testsupport::writeAll(dir.file("empty_es.qm"), QByteArray());
    {
        TranslatorSet set;
        EXPECT_EQ(set.install({ "corrupt_es", "empty_es", "missing_es" }, dir.path()), 0);
        EXPECT_EQ(inEnglishOrSpanish(), QString("Download study"));
        EXPECT_EQ(set.install({ "missing_es", kCatalog }, HOLTER_APP_DIR), 1);
        EXPECT_EQ(set.installed(), QStringList { kCatalog });
        EXPECT_EQ(inEnglishOrSpanish(), QString("Descargar estudio"));
    }
    EXPECT_EQ(inEnglishOrSpanish(), QString("Download study"));
}

QStringList placeholders(const QString& text)
{
    QStringList found;
    auto it = QRegularExpression("%\\d+").globalMatch(text);
    while (it.hasNext())
        found << it.next().captured(0);
    found.sort();
    return found;
}

// Every message of the catalog's source is translated and keeps its placeholders and line
// breaks.
TEST(TranslatorSet, CatalogMessagesAreCompleteAndKeepPlaceholders)
{
    QFile file(QString(HOLTER_TS_DIR) + "/" + kCatalog + ".ts");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
    QXmlStreamReader xml(&file);
    QString context, source;
    int messages = 0;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (xml.name() == QLatin1String("source")) {
            source = xml.readElementText();
        } else if (xml.name() == QLatin1String("translation")) {
            SCOPED_TRACE((context + ": " + source).toStdString());
            EXPECT_NE(xml.attributes().value("type"), QLatin1String("unfinished"));
            const QString translation = xml.readElementText();
            EXPECT_FALSE(translation.trimmed().isEmpty());
            EXPECT_EQ(placeholders(translation), placeholders(source));
            EXPECT_EQ(translation.count('\n'), source.count('\n'));
            ++messages;
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    EXPECT_GT(messages, 0);
}

} // namespace

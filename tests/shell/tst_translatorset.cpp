#include "shell/translatorset.h"
#include "tests/support/testsupport.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

const char* const kCatalog = "VeltronaHolterECG_es";

QString inEnglishOrSpanish()
{
    return QCoreApplication::translate("MainWindow", "Download study");
}

TEST(TranslatorSet, MissingOrCorruptCatalogsInstallNothing)
{
    testsupport::TempRoot dir;
    testsupport::writeAll(dir.file(QString(kCatalog) + ".qm"), QByteArray(64, '\x5a'));
    testsupport::writeAll(dir.file("report_es.qm"), QByteArray());
    for (const QString& folder : { dir.path(), QString("/nonexistent/holter/translations") }) {
        TranslatorSet set;
        EXPECT_EQ(set.install({ "qt_es", kCatalog, "report_es" }, folder), 0);
        EXPECT_TRUE(set.installed().isEmpty());
        EXPECT_EQ(inEnglishOrSpanish(), QString("Download study"));
    }
}

TEST(TranslatorSet, BuiltCatalogTranslatesAndIsRemovedWithTheSet)
{
    const QString dir = HOLTER_APP_DIR;
    if (!QFile::exists(dir + "/" + kCatalog + ".qm"))
        GTEST_SKIP() << "catalog not built in " << dir.toStdString();
    {
        TranslatorSet set;
        // Only the catalog that exists is installed; the others are silently passed over.
        EXPECT_EQ(set.install({ "no_such_catalog_es", kCatalog }, dir), 1);
        EXPECT_EQ(set.installed(), QStringList { kCatalog });
        EXPECT_EQ(inEnglishOrSpanish(), QString("Descargar estudio"));
    }
    EXPECT_EQ(inEnglishOrSpanish(), QString("Download study"));
}

// Every message is translated and keeps its source's placeholders and line breaks.
struct Message
{
    QString context;
    QString source;
    QString translation;
    bool unfinished = false;
};

QList<Message> readCatalog(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<Message> messages;
    QXmlStreamReader xml(&file);
    QString context;
    Message current;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        if (xml.name() == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (xml.name() == QLatin1String("message")) {
            current = Message();
            current.context = context;
        } else if (xml.name() == QLatin1String("source")) {
            current.source = xml.readElementText();
        } else if (xml.name() == QLatin1String("translation")) {
            current.unfinished = xml.attributes().value("type") == QLatin1String("unfinished");
            current.translation = xml.readElementText();
            messages << current;
        }
    }
    EXPECT_FALSE(xml.hasError()) << path.toStdString() << ": " << xml.errorString().toStdString();
    return messages;
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

TEST(TranslatorSet, CatalogMessagesAreCompleteAndKeepPlaceholders)
{
    const QString path = QString(HOLTER_TS_DIR) + "/" + kCatalog + ".ts";
    const QList<Message> messages = readCatalog(path);
    ASSERT_FALSE(messages.isEmpty()) << "no messages read from " << path.toStdString();
    for (const Message& m : messages) {
        SCOPED_TRACE((m.context + ": " + m.source).toStdString());
        EXPECT_FALSE(m.unfinished);
        EXPECT_FALSE(m.translation.trimmed().isEmpty());
        EXPECT_EQ(placeholders(m.translation), placeholders(m.source));
        EXPECT_EQ(m.translation.count('\n'), m.source.count('\n'));
    }
}

} // namespace

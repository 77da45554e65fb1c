#include "reporttestutil.h"

#include <QPageLayout>
#include <QPainter>
#include <QProcess>
#include <QStandardPaths>

namespace reporttest {

QString field(const QString& type, const QString& value, double left, double top, double width,
    double height, const QString& extra)
{
    return QStringLiteral("<TContainerField name=\"f\" type=\"%1\" value=\"%2\" left=\"%3\" "
                          "top=\"%4\" width=\"%5\" height=\"%6\" printing=\"1\" "
                          "fontFamily=\"Helvetica\" fontSize=\"10\" %7/>\n")
        .arg(type, value.toHtmlEscaped())
        .arg(left)
        .arg(top)
        .arg(width)
        .arg(height)
        .arg(extra);
}

QString band(const QString& type, double height, const QString& fields, const QString& extra)
{
    return QStringLiteral("<ReportBand name=\"b\" type=\"%1\" height=\"%2\" width=\"760\" %3>\n%4"
                          "</ReportBand>\n")
        .arg(type)
        .arg(height)
        .arg(extra, fields);
}

QString section(const QString& bands)
{
    return QStringLiteral("<Report pageWidth=\"840\" pageHeight=\"1188\" marginsLeft=\"40\" "
                          "marginsRight=\"40\" marginsTop=\"40\" marginsBottom=\"40\" "
                          "orientation=\"0\" pageNo=\"1\">\n%1</Report>\n")
        .arg(bands);
}

QByteArray reports(const QStringList& sections)
{
    return (QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Reports>\n")
        + sections.join(QString()) + QStringLiteral("</Reports>\n"))
        .toUtf8();
}

Recorder::Recorder(TReportEngine& engine)
{
    QObject::connect(&engine, &TReportEngine::setValue,
        [this](int recNo, const QString& name, QVariant& value, int page) {
            asked.append(Call { recNo, name, page, QRect(), 0 });
            if (values.contains(name))
                value = values.value(name);
        });
    QObject::connect(&engine, &TReportEngine::drawing,
        [this](int recNo, const QString& name, QPainter*, const QRect& bounds, int page) {
            drawings.append(Call { recNo, name, page, bounds, overlays + 1 });
        });
    QObject::connect(
        &engine, &TReportEngine::pageOverlay, [this](QPainter*, const QRect&, int) { ++overlays; });
    QObject::connect(&engine, &TReportEngine::progress, [this](int page, int total) {
        progress.append({ page, total });
    });
}

QVector<Recorder::Call> Recorder::drawingsNamed(const QString& name) const
{
    QVector<Call> out;
    for (const Call& c : drawings) {
        if (c.name == name)
            out.append(c);
    }
    return out;
}

std::unique_ptr<QPdfWriter> pdfWriter(const QString& fileName)
{
    auto writer = std::make_unique<QPdfWriter>(fileName);
    writer->setPageLayout(
        QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF(0, 0, 0, 0)));
    writer->setResolution(254);
    return writer;
}

QString pdfText(const QString& fileName, bool layout)
{
    const QString tool = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
    if (tool.isEmpty())
        return QString();
    QProcess p;
    p.start(tool,
        (layout ? QStringList { QStringLiteral("-layout") } : QStringList())
            + QStringList { fileName, QStringLiteral("-") });
    if (!p.waitForFinished(60000))
        return QString();
    return QString::fromUtf8(p.readAllStandardOutput());
}

QString lineWith(const QString& text, const QString& label)
{
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        if (line.contains(label))
            return line.simplified();
    }
    return QString();
}

} // namespace reporttest

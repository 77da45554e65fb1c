#pragma once

#include "report/treportengine.h"
#include "store/signalsource.h"

#include <QPainter>
#include <QProcess>
#include <QRect>
#include <QStandardPaths>
#include <QString>
#include <QVector>

#include <functional>

// Small builders for templates, so each test states only the geometry it is about.
namespace reporttest {

inline QString field(const QString& type, const QString& value, double left, double top,
    double width, double height, const QString& extra = QString())
{
    return QString("<TContainerField name=\"f\" type=\"%1\" value=\"%2\" left=\"%3\" top=\"%4\" "
                   "width=\"%5\" height=\"%6\" printing=\"1\" fontFamily=\"Helvetica\" "
                   "fontSize=\"10\" %7/>\n")
        .arg(type, value.toHtmlEscaped())
        .arg(left)
        .arg(top)
        .arg(width)
        .arg(height)
        .arg(extra);
}

inline QString band(const QString& type, double height, const QString& fields)
{
    return QString("<ReportBand name=\"b\" type=\"%1\" height=\"%2\" width=\"760\">\n%3"
                   "</ReportBand>\n")
        .arg(type)
        .arg(height)
        .arg(fields);
}

// A section of 840 by 1188 template pixels with margins of 40.
inline QString section(const QString& bands)
{
    return QString("<Report pageWidth=\"840\" pageHeight=\"1188\" marginsLeft=\"40\" "
                   "marginsRight=\"40\" marginsTop=\"40\" marginsBottom=\"40\" orientation=\"0\" "
                   "pageNo=\"1\">\n%1</Report>\n")
        .arg(bands);
}

inline QByteArray reports(const QStringList& sections)
{
    return ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Reports>\n" + sections.join(QString())
        + "</Reports>\n")
        .toUtf8();
}

// Listens to an engine and records what it was asked.
struct Recorder
{
    struct Call
    {
        int recNo;
        QString name;
        int reportPage;
        QRect bounds; // drawing only
        int sheet; // 1-based sheet of the painting pass, drawing only
    };

    explicit Recorder(TReportEngine& engine)
    {
        QObject::connect(&engine, &TReportEngine::setValue,
            [this](int recNo, const QString& name, QVariant&, int page) {
                asked.append(Call { recNo, name, page, QRect(), 0 });
            });
        QObject::connect(&engine, &TReportEngine::drawing,
            [this](int recNo, const QString& name, QPainter*, const QRect& bounds, int page) {
                drawings.append(Call { recNo, name, page, bounds, overlays + 1 });
            });
        QObject::connect(&engine, &TReportEngine::pageOverlay,
            [this](QPainter*, const QRect&, int) { ++overlays; });
        QObject::connect(&engine, &TReportEngine::progress, [this](int page, int total) {
            progress.append({ page, total });
        });
    }

    QVector<Call> drawingsNamed(const QString& name) const
    {
        QVector<Call> out;
        for (const Call& c : drawings) {
            if (c.name == name)
                out.append(c);
        }
        return out;
    }

    QVector<Call> asked; // setValue
    QVector<Call> drawings; // drawing
    QVector<QPair<int, int>> progress;
    int overlays = 0;
};

// The text of a PDF, laid out as on the page, with pages separated by form feeds; null when
// pdftotext (poppler-utils) is not installed.
inline QString pdfText(const QString& fileName)
{
    const QString tool = QStandardPaths::findExecutable("pdftotext");
    if (tool.isEmpty())
        return QString();
    QProcess p;
    p.start(tool, { "-layout", fileName, "-" });
    return p.waitForFinished(60000) ? QString::fromUtf8(p.readAllStandardOutput()) : QString();
}

// The line of a text that holds `label`, squeezed of repeated blanks.
inline QString lineWith(const QString& text, const QString& label)
{
    for (const QString& line : text.split('\n')) {
        if (line.contains(label))
            return line.simplified();
    }
    return QString();
}

// An in-memory source whose samples come from a function of (channel, index).
class FunctionSource : public SignalSource
{
public:
    FunctionSource(int channels, int rate, qint64 samples, std::function<qint16(int, qint64)> f)
        : SignalSource(channels, rate, 1024)
        , m_f(std::move(f))
    {
        setSampleCount(samples);
        setBlockCount(int((samples + 1023) / 1024));
    }
    ~FunctionSource() override { releaseAllBlocks(); }

    qint16* loadBlock(int channel, int block) override
    {
        auto* b = new qint16[1024];
        for (int i = 0; i < 1024; ++i)
            b[i] = m_f(channel, qint64(block) * 1024 + i);
        return b;
    }

private:
    std::function<qint16(int, qint64)> m_f;
};

} // namespace reporttest

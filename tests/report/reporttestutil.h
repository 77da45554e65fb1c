#pragma once

#include "report/treportengine.h"
#include "store/signalsource.h"

#include <QHash>
#include <QPdfWriter>
#include <QRect>
#include <QString>
#include <QVector>

#include <functional>
#include <memory>

// Small builders for templates, so each test states only the geometry it is about.
namespace reporttest {

QString field(const QString& type, const QString& value, double left, double top, double width,
    double height, const QString& extra = QString());
QString band(
    const QString& type, double height, const QString& fields, const QString& extra = QString());
// A section of 840 by 1188 template pixels with margins of 40.
QString section(const QString& bands);
QByteArray reports(const QStringList& sections);

// Listens to an engine: answers placeholders from `values` and records what it was asked.
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

    explicit Recorder(TReportEngine& engine);

    QHash<QString, QString> values;
    QVector<Call> asked; // setValue
    QVector<Call> drawings; // drawing
    QVector<QPair<int, int>> progress;
    int overlays = 0;

    QVector<Call> drawingsNamed(const QString& name) const;
};

// A PDF page device of A4 at 10 pixels per millimetre, so a template pixel is 2.5 device pixels.
std::unique_ptr<QPdfWriter> pdfWriter(const QString& fileName);

// The text of a PDF with pages separated by form feeds (laid out as on the page with `layout`);
// null when pdftotext is not installed.
QString pdfText(const QString& fileName, bool layout = false);
// The line of a text that holds `label`, squeezed of repeated blanks.
QString lineWith(const QString& text, const QString& label);

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

#pragma once

#include "results/analysisparams.h"

#include <QByteArray>
#include <QDateTime>
#include <QMap>
#include <QObject>
#include <QPainter>
#include <QRect>
#include <QString>
#include <QVariant>

#include <memory>
#include <stdexcept>
#include <string>

class DisplayFilterChain;
class QPagedPaintDevice;
class PlotGraphic;
class Result;
class SignalSource;
class Study;
class TReportEngine;
class TTrend;

// A report that could not be made: the template would not load, or the output would not take
// the pages. The message is ready to show.
class ReportError : public std::runtime_error
{
public:
    explicit ReportError(const std::string& message)
        : std::runtime_error(message)
    {
    }
};

// The Holter report of one study: decides which sections of the template print and how many
// rows each has, and answers every placeholder and drawing of the template from the study's
// fields and its results. Everything the report prints passes through the four slots.
class THolterReport : public QObject
{
    Q_OBJECT
public:
    // Template sections by position.
    enum Section {
        Cover = 0,
        HourlyTable = 1,
        HourlyTableSecond = 2,
        ExtraTrends = 3,
        Hrv = 4,
        Strips = 5,
        FullDisclosure = 6
    };

    static const char kTemplate[];
    static const char kVeterinaryTemplate[];

    // `study` is not owned and must outlive the report; its signal and beats are read for the
    // strips.
    explicit THolterReport(Study* study, QObject* parent = nullptr);
    ~THolterReport() override;

    void setLineNotchFilter(bool on) { m_lineNotchFilter = on; }
    void setMuscleNoiseFilter(bool on) { m_muscleNoiseFilter = on; }
    void setBaselineFilter(bool on) { m_baselineFilter = on; }
    void setAmplitude(double mmPerMillivolt) { m_amplitude = mmPerMillivolt; }
    void setRhythmLead(const QString& lead) { m_rhythmLead = lead; }
    void setPrintTrendsAndTable(bool on) { m_printTrendsAndTable = on; }
    void setPrintExtraTrends(bool on) { m_printExtraTrends = on; }
    void setPrintHRV(bool on) { m_printHRV = on; }
    void setTrendLead(const QString& lead) { m_trendLead = lead; }
    void setHeaderTitle(const QString& text) { m_headerTitle = text; }
    void setHeaderInfo(const QString& text) { m_headerInfo = text; }
    void setHeaderLogoFile(const QString& fileName) { m_headerLogoFile = fileName; }
    // The animal-patient cover of the veterinary build.
    void setVeterinary(bool on) { m_veterinary = on; }

    double amplitude() const { return m_amplitude; }
    QString rhythmLead() const { return m_rhythmLead; }
    QString trendLead() const { return m_trendLead; }
    QDateTime startTime() const { return m_startTime; }
    double noiseSeconds() const { return m_noiseSeconds; }
    double durationSeconds() const;

    // Loads the template and plans the sections; throws ReportError when the template won't
    // load. run() does this itself.
    void prepare();
    // Prints to the PDF file. Throws ReportError on failure, an empty name included.
    void run(const QString& pdfFileName);
    // Prints on any paged device, a printer for instance; throws ReportError on failure.
    void run(QPagedPaintDevice* device);

    TReportEngine* engine() const { return m_engine.get(); }
    // Study event numbers of the strip and full-disclosure rows, by row; built by prepare().
    const QMap<int, int>& stripEvents() const { return m_stripEvents; }
    const QMap<int, int>& compressedEvents() const { return m_compressedEvents; }

    // The answer to one placeholder, as reportValue() gives it to the engine.
    QString value(int recNo, const QString& paramName, int reportPage);

    // Copies a trend into a plot with the times moved onto the wall clock, and spans the x axis
    // over the whole recording.
    void initTrendPlot(PlotGraphic& g, const TTrend& trend) const;

signals:
    void progress(int pageNum, int totalPageNum);

public slots:
    void reportValue(int recNo, const QString& paramName, QVariant& paramValue, int reportPage);
    void reportImage(int recNo, const QString& paramName, QByteArray& paramValue, int reportPage);
    void reportDrawing(int recNo, const QString& paramName, QPainter* painter, const QRect& bounds,
        int reportPage);
    void reportOverlay(QPainter* painter, const QRect& bounds, int reportPage);

private:
    QString resultText(int recNo, QString key, int reportPage) const;
    QString eventDescription(const QMap<int, int>& rows, int recNo) const;
    QString riskFactorsText() const;
    int hourIndex(int recNo, int reportPage) const;
    int channelOf(const QString& lead) const;
    QString measurementChannel() const;
    double computeNoiseSeconds() const;

    // Drawing (tholterreportdrawing.cpp).
    SignalSource* filteredSignal();
    void drawLogo(QPainter* painter, const QRect& bounds, const QString& fileName) const;
    void drawStrip(int recNo, bool rhythm, QPainter* painter, const QRect& bounds);
    void drawCompressed(int recNo, QPainter* painter, const QRect& bounds);
    bool drawPlot(const QString& name, QPainter* painter, const QRect& bounds) const;
    void drawTrendPlot(const QByteArray& key, QPainter* painter, const QRect& bounds) const;
    void drawHistogram(QPainter* painter, const QRect& bounds) const;
    void drawLorenz(QPainter* painter, const QRect& bounds) const;
    void drawSpectrum(QPainter* painter, const QRect& bounds) const;
    void drawPie(QPainter* painter, const QRect& bounds) const;
    const Result* result(const QByteArray& key) const;

    Study* m_study; // not owned
    QDateTime m_startTime;
    double m_noiseSeconds = 0.0;
    bool m_lineNotchFilter = false;
    bool m_muscleNoiseFilter = false;
    bool m_baselineFilter = false;
    double m_amplitude = 10.0;
    QString m_rhythmLead = QStringLiteral("II");
    bool m_printTrendsAndTable = true;
    bool m_printExtraTrends = true;
    bool m_printHRV = true;
    QString m_trendLead = QStringLiteral("II");
    QString m_headerTitle;
    QString m_headerInfo;
    QString m_headerLogoFile;
    bool m_veterinary = false;
    std::unique_ptr<TReportEngine> m_engine;
    QMap<int, int> m_stripEvents;
    QMap<int, int> m_compressedEvents;
    QMap<QByteArray, QString> m_formats;
    AnalysisParams m_params; // with the user's limits, read by prepare()
    std::unique_ptr<DisplayFilterChain> m_filters; // built on the first strip of a run
};

#include "tools/gallery/galleryplots.h"

#include "display/plotsource.h"
#include "display/pwavesharesource.h"
#include "display/rrdispersionsource.h"
#include "results/summarytable.h"
#include "results/summarytabletotals.h"
#include "review/qdispersiontrendgraphic.h"
#include "review/qeventtrendgraphic.h"
#include "review/qpiegraphic.h"
#include "review/qplotgraphic.h"
#include "store/result.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/trend.h"
#include "tools/gallery/gallerystudy.h"

#include <QApplication>
#include <QDir>
#include <QHeaderView>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace {

// The size of one plot in the review's tabs at the window's initial size.
const QSize kPlotSize(640, 160);

class Writer
{
public:
    Writer(const QString& outDir, GalleryStudy& study)
        : m_out(outDir)
        , m_study(study)
        , m_results(study.study().results())
        , m_start(double(study.recordingStart().toSecsSinceEpoch()))
        , m_duration(std::max(3600.0, study.study().signal()->duration()))
    {
    }

    void save(QWidget& w, const QString& name)
    {
        w.show();
        QApplication::processEvents();
        const QString path = QDir(m_out).filePath(name + ".png");
        if (!w.grab().save(path))
            throw std::runtime_error(("cannot write " + path).toStdString());
        std::printf("%s\n", qPrintable(path));
        ++m_written;
    }

    // A trend plot against the study's clock, as the trends and HRV tabs set them up.
    void trend(const QString& name, const char* key, int style, const QString& yFormat, double yMin,
        double yMax, const QString& title, const QColor& color)
    {
        QPlotGraphic g;
        g.resize(kPlotSize);
        const auto* t = m_results.findAs<TTrend>(key);
        if (t) {
            // The HRV hourly trends are plain trends of one point an hour.
            g.setSource(std::make_unique<TrendPlotSource>(t, m_start, style == 3 ? 3600.0 : 0.0));
            g.setStyle(style);
            g.setYFormat(yFormat);
            g.setXTimeFormat(QStringLiteral("HH:mm"));
            g.setXRange(m_start, m_start + m_duration);
            g.setYRange(yMin, yMax);
            g.setYStep(30.0);
            g.setTitle(title);
            g.setColor(color);
            g.setSelectedValue(m_start + GalleryStudy::kAfSeconds);
        }
        save(g, name);
    }
    // 0 to the larger of 10 and 1.2 times the largest value.
    double countTop(const char* key) const
    {
        const auto* t = m_results.findAs<TTrend>(key);
        return std::max(10.0, 1.2 * (t ? t->largestValue() : 0.0));
    }
    // "From the result": the hourly HRV plots span 0 to a little above their largest value.
    double resultTop(const char* key) const
    {
        const auto* t = m_results.findAs<TTrend>(key);
        return t && t->largestValue() > 0.0 ? 1.2 * t->largestValue() : 10.0;
    }
    QVector<double> array(const char* key) const
    {
        const auto* a = m_results.findAs<ValueArrayResult>(key);
        return a ? a->values : QVector<double>();
    }

    ResultSet& results() { return m_results; }
    GalleryStudy& study() { return m_study; }
    double start() const { return m_start; }
    double duration() const { return m_duration; }
    int written() const { return m_written; }

private:
    QString m_out;
    GalleryStudy& m_study;
    ResultSet& m_results;
    double m_start;
    double m_duration;
    int m_written = 0;
};

void trendsTab(Writer& w)
{
    const auto* min = w.results().findAs<EventResult>("HR/minBPM");
    const auto* max = w.results().findAs<EventResult>("HR/maxBPM");
    w.trend("plot_trends_hr", "HR/BPMTrend", 1, "%.0f", (min ? min->value : 60.0) - 5,
        (max ? max->value : 100.0) + 5, QObject::tr("HR"), Qt::black);
    w.trend("plot_trends_pvc_per_hour", "PVC/totalCountPerHour", 3, "%.0f", 0,
        w.countTop("PVC/totalCountPerHour"), QObject::tr("PVC/hour"), Qt::red);
    w.trend("plot_trends_svpb_per_hour", "SVPB/totalCountPerHour", 3, "%.0f", 0,
        w.countTop("SVPB/totalCountPerHour"), QObject::tr("SVPB/hour"), QColor(0xFF, 0x80, 0x00));
    const QString lead = QStringLiteral("1");
    w.trend("plot_trends_pr_lead1", "PR/PRTrend(0)", 1, "%.0f", 50, 250,
        QObject::tr("PR [%1] (ms)").arg(lead), Qt::blue);
    w.trend("plot_trends_qt_lead1", "QT/QTTrend(0)", 1, "%.0f", 100, 500,
        QObject::tr("QT [%1] (ms)").arg(lead), Qt::blue);
    w.trend("plot_trends_qtc_lead1", "QT/QTcTrend(0)", 1, "%.0f", 100, 500,
        QObject::tr("QTc [%1] (ms)").arg(lead), Qt::blue);
    w.trend("plot_trends_st_lead1", "ST/STLevelTrend(0)", 1, "%.1f", -3, 3,
        QObject::tr("ST [%1] (mm)").arg(lead), Qt::darkRed);
}

void hrvTabs(Writer& w)
{
    const struct
    {
        const char* name;
        const char* key;
        const char* title;
        QColor color;
    } hourly[] = {
        { "plot_hrv_avgnn_per_hour", "HRV/AVGNNPerHour", "AVGNN/hour", Qt::darkGreen },
        { "plot_hrv_sdnn_per_hour", "HRV/SDNNPerHour", "SDNN/hour", Qt::darkGreen },
        { "plot_hrv_rmssd_per_hour", "HRV/RMSSDPerHour", "RMSSD/hour", Qt::darkGreen },
        { "plot_hrv_pnn50_per_hour", "HRV/PNN50PerHour", "PNN50/hour", Qt::darkGreen },
        { "plot_hrv_ulf_per_hour", "HRV/ULFPowerPerHour", "ULF/hour", Qt::darkBlue },
        { "plot_hrv_vlf_per_hour", "HRV/VLFPowerPerHour", "VLF/hour", Qt::darkBlue },
        { "plot_hrv_lf_per_hour", "HRV/LFPowerPerHour", "LF/hour", Qt::darkBlue },
        { "plot_hrv_hf_per_hour", "HRV/HFPowerPerHour", "HF/hour", Qt::darkBlue },
    };
    for (const auto& h : hourly)
        w.trend(h.name, h.key, 3, "%.0f", 0, w.resultTop(h.key), QObject::tr(h.title), h.color);

    // The NN histogram on its own axis: bins of 1/128 s, drawn in milliseconds.
    QPlotGraphic histogram;
    histogram.resize(320, 200);
    const QVector<double> counts = w.array("HRV/NNHistogram");
    histogram.setSource(
        std::make_unique<VectorPlotSource>(VectorPlotSource::indexed(counts, 1000.0 / 128.0)));
    histogram.setStyle(3);
    histogram.setYStep(30.0);
    histogram.setXFormat("%.0f");
    histogram.setYFormat("%.0f");
    histogram.setXRange(0.0, 1500.0);
    histogram.setYRange(0.0, 1.1 * std::max(1.0, *std::max_element(counts.begin(), counts.end())));
    histogram.setTitle(QObject::tr("NN histogram (ms)"));
    histogram.setColor(Qt::darkGreen);
    w.save(histogram, "plot_hrv_nn_histogram");

    QPlotGraphic lorenz;
    lorenz.resize(260, 260);
    lorenz.setSource(
        std::make_unique<VectorPlotSource>(w.array("HRV/LorenzX"), w.array("HRV/LorenzY")));
    lorenz.setStyle(0);
    lorenz.setYStep(30.0);
    lorenz.setXFormat("%.0f");
    lorenz.setYFormat("%.0f");
    lorenz.setXRange(300.0, 1500.0);
    lorenz.setYRange(300.0, 1500.0);
    lorenz.setTitle(QObject::tr("Lorenz (ms)"));
    lorenz.setColor(Qt::darkGreen);
    w.save(lorenz, "plot_hrv_lorenz");

    // The spectrum: 256 bins of 1/256 Hz.
    QPlotGraphic psd;
    psd.resize(420, 200);
    const QVector<double> power = w.array("HRV/PSD");
    psd.setSource(
        std::make_unique<VectorPlotSource>(VectorPlotSource::indexed(power, 1.0 / 256.0)));
    psd.setStyle(3);
    psd.setYStep(30.0);
    psd.setXFormat("%.2f");
    psd.setYFormat("%.0f");
    psd.setXRange(0.0, 0.5);
    psd.setYRange(0.0, 1.1 * std::max(1.0, *std::max_element(power.begin(), power.end())));
    psd.setTitle(QObject::tr("PSD (ms²) / Hz"));
    psd.setColor(Qt::darkBlue);
    w.save(psd, "plot_hrv_psd");

    QPieGraphic pie;
    pie.resize(200, 200);
    const auto* lf = w.results().findAs<ValueResult>("HRV/LFPower");
    const auto* hf = w.results().findAs<ValueResult>("HRV/HFPower");
    if (lf && hf) {
        pie.addSlice(QObject::tr("LF"), lf->value, QColor(90, 130, 220));
        pie.addSlice(QObject::tr("HF"), hf->value, QColor(240, 150, 60));
    }
    w.save(pie, "plot_hrv_lf_hf_pie");
}

void rhythmTab(Writer& w)
{
    Study& s = w.study().study();
    const double start = w.start();
    const double length = w.duration();

    QDispersionTrendGraphic rr;
    rr.resize(kPlotSize);
    rr.setDispersionSource(std::make_unique<RRDispersionSource>(s.beats(), start), 60.0);
    rr.setXTimeFormat(QStringLiteral("HH:mm"));
    rr.setYFormat("%.1f");
    rr.setYStep(30.0);
    rr.setXRange(start, start + length);
    rr.setYRange(0.0, 2.0);
    rr.setTitle(QObject::tr("RR dispersion"));
    w.save(rr, "plot_rhythm_rr_dispersion");
    // The hourly view samples every 10 seconds: here the AF episode's neighbourhood.
    rr.setDispersionSource(std::make_unique<RRDispersionSource>(s.beats(), start), 10.0);
    rr.setXRange(
        start + GalleryStudy::kAfSeconds - 600.0, start + GalleryStudy::kAfSeconds + 900.0);
    w.save(rr, "plot_rhythm_rr_dispersion_zoom_af");

    QPlotGraphic p;
    p.resize(kPlotSize);
    p.setSource(std::make_unique<PWaveShareSource>(s.beats(), 0, 600.0, start));
    p.setStyle(3);
    p.setYStep(30.0);
    p.setYFormat("%.0f");
    p.setXTimeFormat(QStringLiteral("HH:mm"));
    p.setXRange(start, start + length);
    p.setYRange(0.0, 100.0);
    p.setTitle(QObject::tr("P wave (detection %)"));
    p.setColor(Qt::darkCyan);
    w.save(p, "plot_rhythm_p_waves");

    QEventTrendGraphic bands;
    bands.resize(kPlotSize.width(), 110);
    const auto* big = w.results().findAs<EventListResult>("bigeminy/bigeminyEvents");
    const auto* tri = w.results().findAs<EventListResult>("trigeminy/trigeminyEvents");
    const auto* af = w.results().findAs<EventListResult>("afib/afibEvents");
    if (big && tri && af)
        bands.setRows(
            { QEventTrendGraphic::row(QObject::tr("Bigeminy"), QColor(200, 120, 0), *big, start),
                QEventTrendGraphic::row(QObject::tr("Trigeminy"), QColor(150, 0, 150), *tri, start),
                QEventTrendGraphic::row(QObject::tr("AFib"), QColor(210, 0, 0), *af, start) });
    bands.setXTimeFormat(QStringLiteral("HH:mm"));
    bands.setXRange(start, start + length);
    bands.setTitle(QObject::tr("Arrhythmia"));
    w.save(bands, "plot_rhythm_arrhythmia");
}

void summaryTables(Writer& w, const QString& name)
{
    Study& s = w.study().study();
    SummaryTable hours(&s.results(), s.studyDateTime());
    SummaryTableTotals totals(&s.results());
    QObject::connect(&hours, &SummaryTable::totalsChanged, &totals, &SummaryTableTotals::refresh);
    QWidget page;
    auto* layout = new QVBoxLayout(&page);
    auto* top = new QTableView(&page);
    auto* bottom = new QTableView(&page);
    top->setObjectName("tableSummary");
    bottom->setObjectName("tableSummaryTotals");
    top->setModel(&hours);
    bottom->setModel(&totals);
    bottom->horizontalHeader()->hide();
    for (QTableView* v : { top, bottom }) {
        v->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
        v->verticalHeader()->setFixedWidth(60);
        v->verticalHeader()->setDefaultAlignment(Qt::AlignCenter);
    }
    bottom->setFixedHeight(bottom->verticalHeader()->defaultSectionSize() + 4);
    layout->addWidget(top);
    layout->addWidget(bottom);
    page.resize(960, 240);
    w.save(page, name);
    // Typed over: an hour's PVC count raised by 2, its total follows.
    hours.setData(hours.index(0, 3), hours.data(hours.index(0, 3), Qt::EditRole).toInt() + 2);
    w.save(page, name + "_pvc_hour_raised_by_2");
}

} // namespace

int writePlotPictures(const QString& outDir, GalleryStudy& study)
{
    Writer w(outDir, study);
    trendsTab(w);
    rhythmTab(w);
    hrvTabs(w);
    summaryTables(w, "summary_table");
    return w.written();
}

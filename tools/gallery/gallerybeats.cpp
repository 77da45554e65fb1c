#include "tools/gallery/gallerybeats.h"

#include "analysis/averagebeatdelineator.h"
#include "analysis/displayfilterchain.h"
#include "analysis/recentbeatwindow.h"
#include "display/averagebeatpainter.h"
#include "review/qbeatclassdisplay.h"
#include "review/qbeatdisplay.h"
#include "review/qbeatgriddisplay.h"
#include "review/qbeatoverlapdisplay.h"
#include "store/beatclass.h"
#include "store/beatlist.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "tools/gallery/gallerystudy.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPixmap>

#include <cstdio>
#include <stdexcept>

namespace {

// The review window's selection colours.
const QColor kFocused(238, 85, 102, 128);
const QColor kOther(238, 187, 204, 160);

class Pictures
{
public:
    explicit Pictures(QString outDir)
        : m_out(std::move(outDir))
    {
    }

    // Shows the widget, lets a grid's timer draw every thumbnail of the page, and saves it.
    void save(QWidget& widget, const QString& name, QBeatCellDisplay* grid = nullptr)
    {
        widget.show();
        QApplication::processEvents();
        QElapsedTimer t;
        t.start();
        while (grid && grid->thumbnailsPending() && t.elapsed() < 60000) {
            grid->page();
            QApplication::processEvents();
        }
        const QString path = QDir(m_out).filePath(name + ".png");
        if (!widget.grab().save(path))
            throw std::runtime_error(("cannot write " + path).toStdString());
        std::printf("%s\n", qPrintable(path));
        ++m_written;
    }
    int written() const { return m_written; }

private:
    QString m_out;
    int m_written = 0;
};

// The running average of the beats in the 20 s before `seconds`, with the markers the review
// window sets from its delineation.
void showAverage(
    QBeatDisplay& display, RecentBeatWindow& average, BeatList* beats, double seconds, int lead)
{
    average.clear();
    Beat b;
    if (beats->nearest(seconds - 20.0, b)) {
        for (int i = b.index; beats->get(i, b) && b.windowStartTime() < seconds; ++i)
            if (b.isBeat)
                average.push(b);
    }
    display.setAverageBeat(&average);
    display.setLead(lead);
    if (average.count() == 0)
        return;
    const int rate = average.source()->samplingRate();
    const std::vector<double>& wave = average.average(lead);
    AverageBeatDelineator delineator;
    delineator.measure(wave.data(), int(wave.size()), rate, average.peakPosition(),
        int(rate * average.averageRR()));
    display.setMarker(AverageBeatPainter::POn, double(delineator.pOnset) / rate);
    display.setMarker(AverageBeatPainter::QrsOn, double(delineator.qrsOnset) / rate);
    display.setMarker(AverageBeatPainter::QrsOff, double(delineator.qrsEnd) / rate);
    display.setMarker(AverageBeatPainter::TOff, double(delineator.tEnd) / rate);
}

// The largest class of a type, or one whose size makes a page of 60 cells.
int classOf(const BeatClassSet& set, int type, int minMembers, int maxMembers)
{
    int best = -1;
    int bestSize = 0;
    for (const auto& kv : set.classes()) {
        const BeatClass& c = *kv.second;
        if (c.type == type && c.memberCount() >= minMembers && c.memberCount() <= maxMembers
            && c.memberCount() > bestSize) {
            best = c.id;
            bestSize = c.memberCount();
        }
    }
    return best;
}

} // namespace

int writeBeatPictures(const QString& outDir, GalleryStudy& gallery)
{
    Study& study = gallery.study();
    BeatList* beats = study.beats();
    Pictures pictures(outDir);
    DisplayFilterChain filter(study.signal());
    filter.configure(true, true, true);
    SignalSource* filtered = filter.output();

    // The running average at rest and in the AF episode, on two leads.
    RecentBeatWindow average(20.0, false, filtered);
    QBeatDisplay beatDisplay;
    beatDisplay.resize(420, 620);
    showAverage(beatDisplay, average, beats, 300.0, 0);
    pictures.save(beatDisplay, "beat_display_lead1_sinus");
    showAverage(beatDisplay, average, beats, 300.0, 1);
    pictures.save(beatDisplay, "beat_display_lead2_sinus");
    showAverage(beatDisplay, average, beats, GalleryStudy::kAfSeconds + 120.0, 0);
    pictures.save(beatDisplay, "beat_display_lead1_af");

    std::unique_ptr<BeatClassSet> classes = QBeatClassDisplay::classesOf(filtered, beats);

    QBeatClassDisplay classDisplay;
    classDisplay.setColor(0, kFocused);
    classDisplay.setColor(1, kOther);
    classDisplay.setClasses(classes.get());
    classDisplay.resize(820, 420);
    for (int type : { BeatN, BeatV, BeatS }) {
        classDisplay.setDisplayType(type, false);
        const char* letter = type == BeatN ? "N" : (type == BeatV ? "V" : "S");
        pictures.save(classDisplay, QString("beat_class_grid_%1").arg(letter), &classDisplay);
    }
    classDisplay.setDisplayType(BeatN, false);
    classDisplay.setFocus();
    classDisplay.selectSimilar();
    pictures.save(classDisplay, "beat_class_grid_N_select_similar", &classDisplay);

    QBeatGridDisplay grid;
    grid.setColor(0, kFocused);
    grid.setColor(1, kOther);
    grid.setSignal(filtered);
    grid.setBeats(beats);
    grid.setClasses(classes.get());
    grid.resize(820, 480);
    // A class that fills a page of 60 when there is one, else the normal beats of 45 s, which
    // make one as well.
    const int sixty = classOf(*classes, BeatN, 41, 60);
    if (sixty >= 0)
        grid.showClasses({ sixty });
    else
        grid.showInterval(300.0, 45.0, BeatN);
    if (!grid.beatIds().isEmpty())
        grid.selectBeat(grid.beatIds().value(7));
    pictures.save(grid,
        QString("beat_grid_%1_%2_beats_page_of_%3")
            .arg(sixty >= 0 ? "class" : "45s")
            .arg(grid.beatIds().size())
            .arg(grid.rows() * grid.columns()),
        &grid);
    const int largest = classOf(*classes, BeatN, 1, 1 << 30);
    grid.showClasses({ largest });
    pictures.save(grid, "beat_grid_largest_normal_class", &grid);
    const int ventricular = classOf(*classes, BeatV, 1, 1 << 30);
    if (ventricular >= 0) {
        grid.showClasses({ ventricular });
        pictures.save(grid, "beat_grid_largest_ventricular_class", &grid);
    }

    QBeatOverlapDisplay overlap;
    overlap.setColor(0, kFocused);
    overlap.setColor(1, kOther);
    overlap.setSignal(study.signal());
    overlap.setBeats(beats);
    overlap.setStartDateTime(gallery.recordingStart());
    overlap.resize(720, 440);
    overlap.setInterval(120);
    pictures.save(overlap, "beat_overlap_N_120s", &overlap);
    overlap.setDisplayType(BeatV);
    pictures.save(overlap, "beat_overlap_V_120s", &overlap);
    overlap.setDisplayType(BeatS);
    overlap.setInterval(60);
    pictures.save(overlap, "beat_overlap_S_60s", &overlap);
    return pictures.written();
}

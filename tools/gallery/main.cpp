// holter-gallery OUTDIR: one PNG per view of the workstation, drawn offscreen from a simulated
// one-hour study in a temporary store, so that the pictures can be looked at side by side.
// It never touches the user's data: the store lives in a temporary folder.

#include "analysis/recentbeatwindow.h"
#include "results/eventcatalog.h"
#include "resources/applicationinfo.h"
#include "review/qsignalbrowsedisplay.h"
#include "review/qsignalcompresseddisplay.h"
#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "shell/launcherdialogs.h"
#include "shell/mainwindow.h"
#include "store/beatlist.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "tools/gallery/gallerybeats.h"
#include "tools/gallery/gallerybrowser.h"
#include "tools/gallery/gallerydialogs.h"
#include "tools/gallery/gallerydownload.h"
#include "tools/gallery/galleryplots.h"
#include "tools/gallery/gallerypreprocess.h"
#include "tools/gallery/gallerystudy.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QMouseEvent>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <functional>

namespace {

// Takes the card in `folder` as the downloaded study and accepts the default options.
class CardDialogs : public LauncherDialogs
{
public:
    explicit CardDialogs(QString folder)
        : m_folder(std::move(folder))
    {
    }
    void download(QWidget*, StudyRepository& repository,
        const std::function<void(int)>& downloaded) override
    {
        CardImportOptions options;
        options.patient.lastName = "Gallery";
        options.patient.firstName = "Launcher";
        options.patient.start = QDateTime(QDate(2026, 11, 20), QTime(9, 0));
        const QString file = CardSignalFile::dataFilePath(m_folder);
        downloaded(importCard(repository, file, CardSignalFile::findDataOffset(file), options));
    }
    std::optional<ProcessingOptions> preprocess(QWidget*, StudyRepository&, Study*, bool) override
    {
        return ProcessingOptions();
    }
    std::optional<int> chooseStudy(QWidget*, StudyRepository&) override { return std::nullopt; }
    void configure(QWidget*) override {}

private:
    QString m_folder;
};

const QSize kStripSize(1400, 480);
const QSize kPageSize(1200, 720);

class Gallery
{
public:
    Gallery(const QString& outDir, GalleryStudy& study)
        : m_out(outDir)
        , m_study(study)
    {
    }

    void save(QWidget& widget, const QString& name)
    {
        widget.show();
        QApplication::processEvents();
        const QString path = QDir(m_out).filePath(name + ".png");
        if (!widget.grab().save(path))
            throw std::runtime_error(("cannot write " + path).toStdString());
        std::printf("%s\n", qPrintable(path));
        ++m_written;
    }

    // A strip set up on the study, at `seconds`.
    void strip(const QString& name, double seconds, double speed, double gain,
        const std::function<void(QSignalBrowseDisplay&)>& extra = {})
    {
        QSignalBrowseDisplay display;
        Study& s = m_study.study();
        display.setSignal(s.signal());
        display.setBeats(s.beats());
        display.setStartDateTime(m_study.recordingStart());
        display.resize(kStripSize);
        display.setSpeed(speed);
        display.setAmplitude(gain);
        display.setStartTime(seconds);
        if (extra)
            extra(display);
        save(display, name);
    }

    // The first beat of a type after `seconds`; -1 when there is none.
    int firstBeatOfType(int type, double seconds)
    {
        BeatList* beats = m_study.study().beats();
        Beat b;
        if (!beats->nearest(seconds, b))
            return -1;
        for (int i = b.index; beats->get(i, b); ++i)
            if (b.isBeat && b.type == type)
                return i;
        return -1;
    }
    double timeOf(int id)
    {
        Beat b;
        return m_study.study().beats()->get(id, b) ? b.rInstant() : 0.0;
    }

    int written() const { return m_written; }
    GalleryStudy& study() { return m_study; }

private:
    QString m_out;
    GalleryStudy& m_study;
    int m_written = 0;
};

void move(QWidget& w, const QPoint& at, Qt::MouseButtons buttons)
{
    QMouseEvent e(QEvent::MouseMove, QPointF(at), QPointF(w.mapToGlobal(at)), Qt::NoButton, buttons,
        Qt::NoModifier);
    QApplication::sendEvent(&w, &e);
}

void run(const QString& outDir)
{
    QTemporaryDir temp;
    if (!temp.isValid())
        throw std::runtime_error("cannot make a temporary folder");
    std::fprintf(stderr, "holter-gallery: simulating and processing a one-hour study...\n");
    galleryPreprocess(outDir, temp.filePath("preprocess"));
    GalleryStudy study(temp.path());
    Gallery g(outDir, study);

    // The paper at every speed and gain over ordinary sinus rhythm.
    for (double speed : { 12.5, 25.0, 50.0 })
        for (double gain : { 5.0, 10.0, 20.0 })
            g.strip(QString("strip_%1mms_%2mmmV_sinus").arg(speed).arg(gain).replace('.', '_'),
                300.0, speed, gain);

    const int pvc = g.firstBeatOfType(BeatV, 60.0);
    if (pvc >= 0) {
        g.strip("strip_25mms_10mmmV_pvc_with_selection", g.timeOf(pvc) - 3.0, 25.0, 10.0,
            [&](QSignalBrowseDisplay& d) {
                d.setSelectedBeat(pvc);
                d.setSelection({ pvc - 2, pvc - 1, pvc, pvc + 1 });
            });
    }
    g.strip("strip_25mms_10mmmV_vt_run", GalleryStudy::kVtSeconds - 2.0, 25.0, 10.0);
    g.strip("strip_25mms_10mmmV_af_onset", GalleryStudy::kAfSeconds - 4.0, 25.0, 10.0);
    g.strip(
        "strip_25mms_10mmmV_muscle_noise", GalleryStudy::kMuscleNoiseSeconds + 10.0, 25.0, 10.0);
    g.strip("strip_25mms_10mmmV_electrode_off_lead2", GalleryStudy::kElectrodeOffSeconds - 4.0,
        25.0, 10.0);
    g.strip("strip_12_5mms_10mmmV_muscle_noise_gaps", GalleryStudy::kMuscleNoiseSeconds - 5.0, 12.5,
        10.0);

    // The running average beat beside the traces.
    RecentBeatWindow average(20.0, true, study.study().signal());
    {
        BeatList* beats = study.study().beats();
        Beat b;
        if (beats->nearest(290.0, b))
            for (int i = b.index; beats->get(i, b) && b.rInstant() < 310.0; ++i)
                if (b.isBeat)
                    average.push(b);
    }
    g.strip(
        "strip_25mms_10mmmV_average_beat_column", 300.0, 25.0, 10.0, [&](QSignalBrowseDisplay& d) {
            d.setAverageBeat(&average);
            d.setShowAverageBeat(true);
        });

    // The caliper stretched from a P wave to its R wave on lead 1, at 50 mm/s.
    const int normal = g.firstBeatOfType(BeatN, 302.0);
    g.strip("strip_50mms_10mmmV_caliper_p_to_r", g.timeOf(normal) - 1.0, 50.0, 10.0,
        [&](QSignalBrowseDisplay& d) {
            d.setMode(QSignalBrowseDisplay::CaliperMode);
            d.show();
            QApplication::processEvents();
            const BrowseStripLayout l = d.layout();
            const int y = int(l.rowCentreY(0));
            const QPoint from(int(l.xOfTime(g.timeOf(normal) - 0.16)), y);
            const QPoint to(int(l.xOfTime(g.timeOf(normal))), y);
            move(d, from, Qt::NoButton);
            move(d, from, Qt::LeftButton);
            move(d, to, Qt::LeftButton);
        });

    // Full disclosure over the AF episode, with its events as backgrounds.
    QSignalCompressedDisplay page;
    page.setSignal(study.study().signal());
    page.setBeats(study.study().beats());
    page.setEvents(&study.events());
    page.setStartDateTime(study.recordingStart());
    page.setRows(15);
    page.setRowSeconds(30.0);
    page.resize(kPageSize);
    page.setStartTime(GalleryStudy::kAfSeconds - 60.0);
    g.save(page, "fulldisclosure_lead1_15x30s_af_episode");
    page.setStartTime(GalleryStudy::kVtSeconds - 120.0);
    g.save(page, "fulldisclosure_lead1_15x30s_vt_run");
    writeBeatPictures(outDir, study);

    // The launcher window over an empty store of its own.
    StudyRepository::Options options;
    options.rootOverride = temp.filePath("launcher-store");
    MainWindow launcher(options);
    launcher.resize(1100, 720);
    launcher.show();
    if (!QTest::qWaitFor([&] { return launcher.isStarted(); }, 5000))
        throw std::runtime_error("the launcher window did not start");
    g.save(launcher, "launcher_mainwindow");

    // The same window while it processes the gallery's card, caught in the middle of a stage.
    launcher.setDialogs(std::make_unique<CardDialogs>(temp.filePath("card")));
    launcher.findChild<QPushButton*>("btnDownloadStudy")->click();
    auto* bar = launcher.findChild<QProgressBar*>("barProcessProgress");
    auto* status = launcher.findChild<QLabel*>("lblProcessStatus");
    if (!QTest::qWaitFor(
            [&] { return status->text().contains("1 of") && bar->value() >= 40; }, 30000))
        throw std::runtime_error("the launcher did not get half way through detection");
    g.save(launcher, "launcher_mainwindow_processing");
    launcher.close(); // cancels the run and waits for it
    writeDownloadPictures(outDir);
    writeBrowserPictures(outDir, temp.filePath("browser"));
    writeDialogPictures(outDir);
    writePlotPictures(outDir, study);
    std::fprintf(stderr, "holter-gallery: %d pictures in %s\n", g.written(), qPrintable(outDir));
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Settings and data of this run stay in a temporary home.
    QTemporaryDir home;
    qputenv("XDG_DATA_HOME", home.filePath("data").toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath("config").toUtf8());
    QApplication app(argc, argv);
    // The launcher shows the real name and version; settings still go to the temporary home.
    ApplicationInfo::apply();
    if (argc != 2) {
        std::fprintf(stderr, "usage: holter-gallery OUTDIR\n");
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    if (!QDir().mkpath(out)) {
        std::fprintf(stderr, "holter-gallery: cannot create %s\n", argv[1]);
        return 1;
    }
    try {
        run(out);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "holter-gallery: %s\n", e.what());
        return 1;
    }
    return 0;
}

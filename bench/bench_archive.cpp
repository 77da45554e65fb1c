// A simulated 3-channel day imported into a temporary store, given a beat every 0.8 s (as
// processing would leave it), then exported to a vtz archive and imported into a second
// store. Prints wall time and peak resident memory of each step, and the archive's size as a
// share of the raw sample file.
//   bench_archive [hours [card-folder]]   (default 24 h)
// A card folder that already holds HECG.VTF is used as it is; otherwise one is simulated.

#include "benchstudy.h"
#include "benchutil.h"
#include "store/beat.h"
#include "store/beatlist.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <exception>

namespace {

void addBeats(StudyRepository& repo, int id)
{
    Study* study = repo.openStudy(id);
    if (!study)
        throw std::runtime_error("the imported study cannot be opened");
    const double seconds = study->signal()->duration();
    for (double r = 0.5; r < seconds; r += 0.8) {
        Beat b;
        b.source = study->signal();
        b.windowStart = r - 0.2;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, r);
        b.setTiming(Beat::RR, 0.8);
        b.classId = 1;
        b.type = BeatN;
        for (int c = 0; c < 3; ++c) {
            b.setChannelMeasure(c, Beat::HasQrs, 1);
            b.setChannelMeasure(c, Beat::QrsDuration, 0.09);
            b.setChannelMeasure(c, Beat::RPeak, r);
        }
        study->beats()->append(b);
    }
    repo.saveStudy(study);
    repo.closeStudy(study);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir temp;
    double hours = 0.0;
    QString card;
    if (const int status = bench::startDay(argc, argv, "bench_archive", temp, hours, card))
        return status;
    try {
        const std::unique_ptr<StudyRepository> store = bench::openStore(temp.filePath("store"));
        StudyRepository& repo = *store;
        const int id = bench::importSimulatedDay(repo, card, hours);
        addBeats(repo, id);
        StudyInfo row;
        repo.studyExists(id, row);
        const qint64 rawBytes = QFileInfo(repo.studyPath(row.baseFilename, "vtecg")).size();
        const qint64 beatsBytes = QFileInfo(repo.studyPath(row.baseFilename, "vtbeats")).size();

        QDir(temp.path()).mkdir("shared");
        bool peakReset = bench::resetPeakRss();
        bench::Stopwatch exporting;
        const QString archive = repo.exportStudy(id, temp.filePath("shared"), nullptr);
        const double exportSeconds = exporting.seconds();
        const double exportPeak = bench::peakRssMb();
        const qint64 archiveBytes = QFileInfo(archive).size();

        const std::unique_ptr<StudyRepository> otherStore
            = bench::openStore(temp.filePath("other"));
        StudyRepository& other = *otherStore;
        peakReset = bench::resetPeakRss() && peakReset;
        bench::Stopwatch importing;
        const int imported = other.importStudy(archive, nullptr);
        const double importSeconds = importing.seconds();
        const double importPeak = bench::peakRssMb();
        const bool same = imported == id
            && QFileInfo(other.studyPath(row.baseFilename, "vtecg")).size() == rawBytes;

        const char* scope = peakReset ? "" : " (of the whole run)";
        std::printf("archive %.1f h, 3 channels: samples %.1f MB, beats %.1f MB\n", hours,
            rawBytes / 1e6, beatsBytes / 1e6);
        std::printf(
            "  export  %6.2f s wall, peak RSS %.1f MB%s\n", exportSeconds, exportPeak, scope);
        std::printf("  import  %6.2f s wall, peak RSS %.1f MB%s%s\n", importSeconds, importPeak,
            scope, same ? "" : " - DIFFERS FROM THE ORIGINAL");
        std::printf("  archive %.1f MB = %.1f %% of the raw sample file\n", archiveBytes / 1e6,
            100.0 * double(archiveBytes) / double(rawBytes));
        return same ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}

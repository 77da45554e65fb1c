// Listing a store of many studies must come from the index alone, never the study files.
#include "bench/benchutil.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <vector>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int count = argc > 1 ? std::max(1, atoi(argv[1])) : 1000;
    QTemporaryDir dir;
    QTextStream out(stdout);
    StudyRepository::Options o;
    o.rootOverride = dir.path();
    {
        StudyRepository repo("VeltronaHolter", o);
        for (int i = 0; i < count; ++i) {
            StudyInfo info;
            info.studyDateTime = "20261122083015";
            info.recordingDateTime = info.studyDateTime;
            info.patientLastName = "Patient" + QByteArray::number(i);
            info.patientFirstName = "Test";
            info.samplingRate = 500;
            info.channelCount = 3;
            info.channelNames = "II,V2,V5";
            info.resolution = 16;
            info.gain = 450;
            repo.closeStudy(repo.createStudy(info));
        }
    }
    // A fresh repository, as at start-up, then the list several times.
    StudyRepository repo("VeltronaHolter", o);
    std::vector<double> times;
    int listed = 0;
    for (int k = 0; k < 20; ++k) {
        bench::Stopwatch w;
        listed = repo.listStudies().size();
        times.push_back(w.seconds() * 1000.0);
    }
    std::sort(times.begin(), times.end());
    out << "listStudies " << listed << " studies: median " << times[times.size() / 2]
        << " ms, worst " << times.back() << " ms (goal < 50 ms)\n";

    bench::Stopwatch rebuild;
    QFile::remove(dir.path() + "/data/studies.sqlite");
    StudyRepository rebuilt("VeltronaHolter", o);
    out << "index rebuild from " << count << " study files: " << rebuild.seconds() * 1000.0
        << " ms\n";
    return listed == count ? 0 : 1;
}

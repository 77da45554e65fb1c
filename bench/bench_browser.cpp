// The study browser over a store of many studies: opening the dialog with its list filled
// (goal <= 300 ms for 5000 studies) and one keystroke in the name filter (goal <= 30 ms), both
// with the repaint that follows.
//   bench_browser [studies]   (default 5000)

#include "benchutil.h"
#include "shell/openstudydialog.h"
#include "store/study.h"
#include "store/studyfile.h"
#include "store/studyrepository.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0.0 : v[v.size() / 2];
}

double worst(const std::vector<double>& v)
{
    return v.empty() ? 0.0 : *std::max_element(v.begin(), v.end());
}

// Writes `count` study files straight into the root and lets the repository index them in its
// one-transaction rebuild: creating each through the repository would cost a commit per study.
// The browser reads only the index, so the sample and beat files are left out.
void writeStudies(const QString& root, int count)
{
    static const char* const last[] = { "García", "Fernández", "López", "Martínez", "Sánchez",
        "Pérez", "Gómez", "Martín", "Jiménez", "Ruiz", "Hernández", "Díaz", "Moreno", "Álvarez",
        "Muñoz", "Romero", "Alonso", "Gutiérrez", "Navarro", "Torres" };
    static const char* const first[] = { "Ana", "José", "María", "Luis", "Carmen", "Javier",
        "Lucía", "Pedro", "Elena", "Miguel", "Sofía", "Pablo" };
    std::mt19937 random(5000);
    for (int i = 0; i < count; ++i) {
        Study study(i + 1);
        const QByteArray date = QDateTime(QDate(2020, 1, 1), QTime(8, 0))
                                    .addSecs(qint64(random() % (6 * 365 * 86400LL)))
                                    .toString("yyyyMMddHHmmss")
                                    .toLatin1();
        const QByteArray lastName = last[random() % std::size(last)];
        const QByteArray firstName = first[random() % std::size(first)];
        const QByteArray base
            = lastName + '-' + firstName + '-' + date + '-' + QByteArray::number(i);
        study.setProperty("baseFilename", base);
        study.setProperty("status", random() % 3 == 0 ? "report" : "processed");
        study.setProperty("studyType", "Holter");
        study.setProperty("patient/lastName", lastName);
        study.setProperty("patient/firstName", firstName);
        study.setStudyDateTime(date);
        study.setRecordingDateTime(date);
        QFile file(QString("%1/%2.vtstudy").arg(root, QString::fromUtf8(base)));
        const QByteArray bytes = encodeStudyDocument(study);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            throw std::runtime_error("cannot write a study file in " + root.toStdString());
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.filePath("config").toUtf8()); // the folder history
    QApplication app(argc, argv);
    const int count = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5000;

    QTemporaryDir dir;
    StudyRepository::Options options;
    options.rootOverride = dir.path();
    try {
        writeStudies(dir.path(), count);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_browser: %s\n", e.what());
        return 1;
    }
    bench::Stopwatch rebuild;
    StudyRepository repository("VeltronaHolter", options);
    const double rebuildMs = rebuild.seconds() * 1000.0;
    const int listed = repository.listStudies().size();

    // Opening: construction (settings, listing, filling, sorting), showing and the first paint.
    std::vector<double> openMs;
    int rows = 0;
    for (int run = 0; run < 7; ++run) {
        bench::Stopwatch w;
        OpenStudyDialog dialog(repository);
        dialog.show();
        QApplication::processEvents();
        openMs.push_back(w.seconds() * 1000.0);
        rows = dialog.findChild<QTreeWidget*>("treeStudies")->topLevelItemCount();
    }

    // Typing a name and taking it back, one key at a time, each with its repaint.
    OpenStudyDialog dialog(repository);
    dialog.show();
    QApplication::processEvents();
    auto* filter = dialog.findChild<QLineEdit*>("txtFilter");
    auto* tree = dialog.findChild<QTreeWidget*>("treeStudies");
    std::vector<double> keyMs;
    int shownAfterWord = 0;
    for (int round = 0; round < 3; ++round) {
        for (const char key : QByteArray("mart ana")) {
            bench::Stopwatch w;
            QTest::keyClick(filter, key);
            QApplication::processEvents();
            keyMs.push_back(w.seconds() * 1000.0);
        }
        shownAfterWord = 0;
        for (int i = 0; i < tree->topLevelItemCount(); ++i)
            shownAfterWord += !tree->topLevelItem(i)->isHidden();
        while (!filter->text().isEmpty()) {
            bench::Stopwatch w;
            QTest::keyClick(filter, Qt::Key_Backspace);
            QApplication::processEvents();
            keyMs.push_back(w.seconds() * 1000.0);
        }
    }

    std::printf("store of %d studies, index rebuilt in %.0f ms\n", listed, rebuildMs);
    std::printf(
        "open the browser and fill %d rows: median %.1f ms, worst %.1f ms (goal <= 300 ms)\n", rows,
        median(openMs), worst(openMs));
    std::printf("filter keystroke (%zu keys, \"mart ana\" leaves %d rows): median %.1f ms, worst "
                "%.1f ms (goal <= 30 ms)\n",
        keyMs.size(), shownAfterWord, median(keyMs), worst(keyMs));
    return rows == count && listed == count ? 0 : 1;
}

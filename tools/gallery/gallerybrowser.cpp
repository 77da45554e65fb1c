#include "tools/gallery/gallerybrowser.h"

#include "shell/openstudydialog.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPixmap>
#include <QPushButton>
#include <QSettings>
#include <QTreeWidget>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

struct Patient
{
    const char* last;
    const char* first;
    const char* date; // "yyyyMMddHHmmss"
    const char* status;
};

const Patient kLocal[] = {
    { "García Pérez", "Ana María", "20261123091500", "downloaded" },
    { "Núñez", "José Luis", "20261122083000", "processed" },
    { "Fernández", "Lucía", "20261121101000", "report" },
    { "Ortega Ruiz", "Carmen", "20261120160500", "report" },
    { "Martínez", "Pablo", "20261119084500", "processed" },
    { "López Álvarez", "Elena", "20261118120000", "report" },
    { "Sánchez", "Miguel Ángel", "20261117093000", "report" },
    { "Romero", "Sofía", "20261114110000", "processed" },
    { "Gómez", "Javier", "20261112081500", "report" },
    { "Díaz Moreno", "Isabel", "20261110140000", "processed" },
    { "Torres", "Andrés", "20261105100000", "report" },
    { "Navarro", "Teresa", "20261030093000", "report" },
};

const Patient kShared[] = {
    { "Herrera", "Raúl", "20261123073000", "processed" },
    { "Castillo Vega", "Marta", "20261122190000", "processed" },
    { "Iglesias", "Tomás", "20261120081000", "processed" },
    { "Molina", "Rosa", "20261116112000", "processed" },
};

int addStudy(StudyRepository& repo, const Patient& p)
{
    StudyInfo info;
    info.patientLastName = p.last;
    info.patientFirstName = p.first;
    info.studyDateTime = info.recordingDateTime = p.date;
    info.samplingRate = 500;
    info.channelCount = 3;
    info.channelNames = "II,V2,V5";
    info.resolution = 16;
    info.gain = 450;
    Study* s = repo.createStudy(info);
    std::vector<qint16> samples(500, 0);
    const qint16* channels[3] = { samples.data(), samples.data(), samples.data() };
    s->signal()->appendChannels(channels, 500);
    s->setProperty("status", p.status);
    repo.saveStudy(s);
    repo.closeStudy(s);
    return info.id;
}

std::unique_ptr<StudyRepository> makeStore(const QString& root)
{
    StudyRepository::Options o;
    o.rootOverride = root;
    return std::make_unique<StudyRepository>("VeltronaHolter", o);
}

void save(QWidget& widget, const QString& outDir, const QString& name)
{
    QApplication::processEvents();
    const QString path = QDir(outDir).filePath(name + ".png");
    if (!widget.grab().save(path))
        throw std::runtime_error(("cannot write " + path).toStdString());
    std::printf("%s\n", qPrintable(path));
}

} // namespace

int writeBrowserPictures(const QString& outDir, const QString& workDir)
{
    auto local = makeStore(workDir + "/local");
    for (const Patient& p : kLocal)
        addStudy(*local, p);
    // The shared folder as another station left it: a few archives and a file of someone else's.
    const QString shared = workDir + "/shared";
    QDir().mkpath(shared);
    auto other = makeStore(workDir + "/other");
    for (const Patient& p : kShared)
        other->exportStudy(addStudy(*other, p), shared, nullptr);
    QFile notes(shared + "/notes.vtz");
    if (notes.open(QIODevice::WriteOnly))
        notes.write("not an archive");
    notes.close();

    QSettings settings;
    settings.setValue(OpenStudyDialog::FolderListSetting,
        QStringList({ shared, "//server/holter/shared", "/mnt/usb/estudios" }));
    settings.setValue(OpenStudyDialog::DefaultFolderSetting, shared);

    // The application's own look.
    const QString previousSheet = qApp->styleSheet();
    QFile css(":/styles/dark.css");
    if (css.open(QIODevice::ReadOnly))
        qApp->setStyleSheet(QString::fromUtf8(css.readAll()));

    OpenStudyDialog dialog(*local);
    dialog.show();
    // A reported study chosen, so that its report can be shown.
    auto* tree = dialog.findChild<QTreeWidget*>("treeStudies");
    tree->setFocus();
    tree->setCurrentItem(tree->topLevelItem(2));
    save(dialog, outDir, "browser_local");

    dialog.findChild<QPushButton*>("btnShare")->click();
    auto* sharedTree = dialog.findChild<QTreeWidget*>("treeSharedStudies");
    sharedTree->setCurrentItem(sharedTree->topLevelItem(0));
    save(dialog, outDir, "browser_shared_pane");
    dialog.reject();
    qApp->setStyleSheet(previousSheet);
    return 2;
}

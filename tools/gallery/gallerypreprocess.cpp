#include "tools/gallery/gallerypreprocess.h"

#include "preprocess/preprocessdialog.h"
#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "review/qsignalbrowsedisplay.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tools/simulator.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QRadioButton>
#include <QSpinBox>

#include <cstdio>
#include <stdexcept>

namespace {

// Ten minutes with ectopy, enough for a live view worth looking at.
const char* const kScript = R"(hours 0.17
start 2026-11-23 10:15:00
rate 78 60
pvc count 12
svpb count 6
)";

void save(QWidget& widget, const QString& outDir, const QString& name)
{
    widget.show();
    QApplication::processEvents();
    const QString path = QDir(outDir).filePath(name + ".png");
    if (!widget.grab().save(path))
        throw std::runtime_error(("cannot write " + path).toStdString());
    std::printf("%s\n", qPrintable(path));
}

template <typename T> T* child(QWidget& parent, const char* name)
{
    T* w = parent.findChild<T*>(QLatin1String(name));
    if (!w)
        throw std::runtime_error(std::string("the dialog has no ") + name);
    return w;
}

} // namespace

void galleryPreprocess(const QString& outDir, const QString& root)
{
    const QString card = root + "/card";
    Simulator(parseSimulatorScript(QString::fromLatin1(kScript), "preprocess"), 11)
        .writeAll(card, 512);
    StudyRepository::Options options;
    options.rootOverride = root + "/store";
    StudyRepository repository("VeltronaHolterGallery", options);
    CardImportOptions import;
    import.patient.lastName = "Ibarra";
    import.patient.firstName = "Lucia";
    import.patient.start = QDateTime(QDate(2026, 11, 23), QTime(10, 15));
    const QString file = CardSignalFile::dataFilePath(card);
    const int id = importCard(repository, file, CardSignalFile::findDataOffset(file), import);
    Study* study = repository.openStudy(id);
    if (!study)
        throw std::runtime_error("the downloaded study could not be opened");

    {
        // As it opens: the view at the start of the recording.
        PreprocessDialog dialog(repository, study, true);
        dialog.resize(1280, 800);
        save(dialog, outDir, "preprocess_dialog");
    }
    {
        PreprocessDialog dialog(repository, study, false);
        dialog.resize(1280, 800);
        dialog.view()->setStartTime(120.0);
        child<QRadioButton>(dialog, "rbtSVPBUser")->setChecked(true);
        child<QSpinBox>(dialog, "numSPVBPrematurityPct")->setValue(25);
        child<QCheckBox>(dialog, "chkSPVBCompensatory")->setChecked(true);
        child<QCheckBox>(dialog, "chkAllowTypeU")->setChecked(false);
        child<QComboBox>(dialog, "cboLead2")->setCurrentText("V1");
        child<QCheckBox>(dialog, "chkInvert2")->setChecked(true);
        child<QComboBox>(dialog, "cboTrim")->setCurrentIndex(1);
        save(dialog, outDir, "preprocess_dialog_user_rules_inverted_lead");
    }
    repository.closeStudy(study);
}

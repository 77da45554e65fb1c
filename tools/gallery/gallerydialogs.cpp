#include "tools/gallery/gallerydialogs.h"

#include "shell/configdialog.h"
#include "shell/studydialog.h"
#include "store/studyrepository.h"
#include "workflow/settingskeys.h"

#include <QApplication>
#include <QDir>
#include <QListWidget>
#include <QSettings>

#include <cstdio>
#include <stdexcept>

namespace {

StudyInfo galleryPatient()
{
    StudyInfo i;
    i.studyDateTime = i.recordingDateTime = "20261122090000";
    i.patientLastName = "Paz Núñez";
    i.patientFirstName = "Eva María";
    i.patientBirthDate = "19610203";
    i.patientAge = "65";
    i.patientSex = "F";
    i.patientWeight = "68";
    i.patientHeight = "162";
    i.patientPersonIdType = "DNI";
    i.patientPersonIdNumber = "14.567.890";
    i.patientMedicalGroupName = "OSDE";
    i.patientMedicalGroupNumber = "61-223344-01";
    i.patientMedicalHistoryNumber = "HC-20931";
    i.patientPhoneNumber = "+54 341 555-0192";
    i.patientAddress = "Bv. Oroño 1450, 3º B";
    i.patientCity = "Rosario";
    i.patientState = "Santa Fe";
    i.doctorName = "Dr. Martín Ruiz";
    i.referringDoctorName = "Dra. Laura Gil";
    i.technicianName = "Ana Sosa";
    i.indication = "Palpitaciones nocturnas y mareos ocasionales.";
    i.treatment = "Atenolol 50 mg/día";
    i.comments = "Registro sin interrupciones.";
    i.riskFactors = { { "Hipertensión", true, "Desde 2019, controlada" },
        { "Ex-tabaquismo", true, "Abandonó en 2015" }, { "Dislipemia", true, "" },
        { "Sedentarismo", false, "" } };
    return i;
}

void fillSettings()
{
    using namespace SettingsKeys;
    QSettings s;
    s.setValue(CityList, QStringList { "Rosario", "Santa Fe", "Córdoba" });
    s.setValue(DoctorNameList, QStringList { "Dr. Martín Ruiz", "Dra. Laura Gil" });
    s.setValue(HeaderLogoFilename, ":/res/logo-veltrona.png");
    s.setValue(HeaderTitle, "Centro Cardiológico del Sur");
    s.setValue(HeaderInfo, "Servicio de Cardiología - Tel. 0341 555-0100");
    s.setValue(SVPBUserDefined, true);
    s.setValue(SVPBPrematurityPct, 25);
    s.setValue(AllowTypeU, false);
    s.setValue(AutoExportReports, true);
    s.setValue(ExportReportFolder, "/srv/holter/informes");
    s.setValue(ExportStudyFolder, "/srv/holter/estudios");
}

class Pictures
{
public:
    explicit Pictures(const QString& outDir) : m_out(outDir) {}

    // One picture per page, chosen through the dialog's own list.
    void pages(QDialog& dialog, const QStringList& names)
    {
        auto* list = dialog.findChild<QListWidget*>("listCategory");
        dialog.show();
        for (int row = 0; row < names.size(); ++row) {
            list->setCurrentRow(row);
            QApplication::processEvents();
            const QString path = QDir(m_out).filePath(names[row] + ".png");
            if (!dialog.grab().save(path))
                throw std::runtime_error(("cannot write " + path).toStdString());
            std::printf("%s\n", qPrintable(path));
            ++m_written;
        }
        dialog.hide();
    }
    int written() const { return m_written; }

private:
    QString m_out;
    int m_written = 0;
};

} // namespace

int writeDialogPictures(const QString& outDir)
{
    fillSettings();
    Pictures pictures(outDir);
    StudyDialog study(StudyRepository::defaultRiskFactorNames());
    study.setInfo(galleryPatient());
    pictures.pages(study,
        { "studydialog_patient", "studydialog_riskfactors", "studydialog_studyinfo" });
    ConfigDialog config;
    pictures.pages(config,
        { "config_report", "config_analysis", "config_classification", "config_exportreports",
            "config_exportstudies" });
    return pictures.written();
}

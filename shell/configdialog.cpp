#include "shell/configdialog.h"

#include "results/analysisparams.h"
#include "results/qtanalyzer.h"
#include "ui_configdialog.h"
#include "workflow/settingskeys.h"
#include "workflow/settingsreader.h"

#include <QFileDialog>
#include <QImageReader>
#include <QMessageBox>
#include <QPixmap>
#include <QSettings>

namespace {

// The keys of the analysis controls, as AnalysisParams knows them.
const char* const kPause = AnalysisParams::kSettingKeys[0];
const char* const kTachy = AnalysisParams::kSettingKeys[1];
const char* const kBrady = AnalysisParams::kSettingKeys[2];
const char* const kDuration = AnalysisParams::kSettingKeys[3];
const char* const kFormula = AnalysisParams::kSettingKeys[4];

} // namespace

ConfigDialog::ConfigDialog(QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ConfigDialog>())
{
    m_ui->setupUi(this);
    // The formula names are proper names; the id is what the analysis reads.
    m_ui->cboQTcFormula->addItem(tr("Bazett"), int(QTAnalyzer::Bazett));
    m_ui->cboQTcFormula->addItem(tr("Fredericia"), int(QTAnalyzer::Fridericia));
    m_ui->cboQTcFormula->addItem(tr("Hodges"), int(QTAnalyzer::Hodges));
    m_ui->cboQTcFormula->addItem(tr("Framingham"), int(QTAnalyzer::Framingham));
    loadSettings();
    m_ui->listCategory->setCurrentRow(0);
}

ConfigDialog::~ConfigDialog() = default;

template <typename Read> void ConfigDialog::setAnalysisControls(Read value)
{
    Ui::ConfigDialog& ui = *m_ui;
    ui.numPauseInterval->setValue(value(kPause));
    ui.numTachyBPM->setValue(int(value(kTachy)));
    ui.numBradyBPM->setValue(int(value(kBrady)));
    ui.numArrhythmiaDuration->setValue(int(value(kDuration)));
    int formula = ui.cboQTcFormula->findData(int(value(kFormula)));
    if (formula < 0) // an id this version doesn't offer
        formula = ui.cboQTcFormula->findData(int(AnalysisParams().value(kFormula)));
    ui.cboQTcFormula->setCurrentIndex(formula);
}

void ConfigDialog::loadSettings()
{
    using namespace SettingsKeys;
    using namespace SettingsReader;
    const QSettings settings;
    Ui::ConfigDialog& ui = *m_ui;

    showLogo(stringValue(settings, HeaderLogoFilename));
    ui.txtHeaderTitle->setText(stringValue(settings, HeaderTitle));
    ui.txtHeaderInfo->setText(stringValue(settings, HeaderInfo));

    const AnalysisParams defaults;
    setAnalysisControls([&](const char* key) {
        const QByteArray settingsKey = QByteArray(AnalysisPrefix) + key;
        return doubleValue(settings, settingsKey.constData(), defaults.value(key));
    });

    ui.chkAllowTypeV->setChecked(boolValue(settings, AllowTypeV, true));
    ui.chkAllowTypeF->setChecked(boolValue(settings, AllowTypeF, true));
    ui.chkAllowTypeS->setChecked(boolValue(settings, AllowTypeS, true));
    ui.chkAllowTypeU->setChecked(boolValue(settings, AllowTypeU, true));
    const bool userRule = boolValue(settings, SVPBUserDefined, false);
    ui.rbtSVPBUser->setChecked(userRule);
    ui.rbtSVPBAuto->setChecked(!userRule);
    ui.numSPVBPrematurityPct->setValue(
        intValue(settings, SVPBPrematurityPct, kDefaultSVPBPrematurityPct, 0, 100));
    ui.chkSPVBCompensatory->setChecked(boolValue(settings, SVPBCompensatory, false));

    ui.chkAutoExportReports->setChecked(boolValue(settings, AutoExportReports, false));
    ui.txtExportReportFolder->setText(stringValue(settings, ExportReportFolder));
    ui.chkAutoExportStudies->setChecked(boolValue(settings, AutoExportStudies, false));
    ui.txtExportStudyFolder->setText(stringValue(settings, ExportStudyFolder));
    // Long texts show from their start.
    for (QLineEdit* edit : { ui.txtHeaderTitle, ui.txtHeaderInfo, ui.txtExportReportFolder,
             ui.txtExportStudyFolder })
        edit->setCursorPosition(0);
    updateSvpbControls();
    updateFolderControls();
}

QVector<QPair<QString, QVariant>> ConfigDialog::settingsValues() const
{
    using namespace SettingsKeys;
    const Ui::ConfigDialog& ui = *m_ui;
    return {
        { HeaderLogoFilename, m_logoFile },
        { HeaderTitle, ui.txtHeaderTitle->text() },
        { HeaderInfo, ui.txtHeaderInfo->text() },
        { PauseIntervalSecs, ui.numPauseInterval->value() },
        { TachycardiaBPMLimit, ui.numTachyBPM->value() },
        { BradycardiaBPMLimit, ui.numBradyBPM->value() },
        { ArrhythmiaMinDurationSecs, ui.numArrhythmiaDuration->value() },
        { QTCorrectionFormulaId, ui.cboQTcFormula->currentData().toInt() },
        { AllowTypeV, ui.chkAllowTypeV->isChecked() },
        { AllowTypeF, ui.chkAllowTypeF->isChecked() },
        { AllowTypeS, ui.chkAllowTypeS->isChecked() },
        { AllowTypeU, ui.chkAllowTypeU->isChecked() },
        { SVPBUserDefined, ui.rbtSVPBUser->isChecked() },
        { SVPBPrematurityPct, ui.numSPVBPrematurityPct->value() },
        { SVPBCompensatory, ui.chkSPVBCompensatory->isChecked() },
        { AutoExportReports, ui.chkAutoExportReports->isChecked() },
        { ExportReportFolder, ui.txtExportReportFolder->text() },
        { AutoExportStudies, ui.chkAutoExportStudies->isChecked() },
        { ExportStudyFolder, ui.txtExportStudyFolder->text() },
    };
}

void ConfigDialog::on_ConfigDialog_accepted()
{
    // No validation: a checked export with an empty folder is allowed, and its reader then
    // treats the export as off.
    QSettings settings;
    for (const auto& [key, value] : settingsValues())
        settings.setValue(key, value);
}

void ConfigDialog::on_listCategory_currentRowChanged(int currentRow)
{
    if (currentRow >= 0 && currentRow < m_ui->pages->count())
        m_ui->pages->setCurrentIndex(currentRow);
}

void ConfigDialog::showLogo(const QString& path)
{
    m_logoFile = path;
    const QPixmap pixmap(path);
    QLabel* label = m_ui->logoImage;
    label->setToolTip(QDir::toNativeSeparators(path));
    if (path.isEmpty() || pixmap.isNull()) {
        // A configured logo that went missing stays configured; the report leaves it out.
        label->setPixmap(QPixmap());
        label->setText(tr("[none]"));
        return;
    }
    label->setPixmap(pixmap.scaled(label->contentsRect().size() - QSize(8, 8),
        Qt::KeepAspectRatio, Qt::SmoothTransformation));
}

bool ConfigDialog::loadLogo(const QString& path)
{
    if (QPixmap(path).isNull()) {
        QMessageBox::warning(this, tr("Warning"),
            tr("Logo image could not be loaded from file: %1").arg(QDir::toNativeSeparators(path)));
        return false;
    }
    showLogo(path);
    return true;
}

void ConfigDialog::on_btnSelectLogo_clicked()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Open Image"),
        QFileInfo(m_logoFile).path(), tr("Image Files (*.png *.jpg *.bmp)"));
    if (!path.isEmpty())
        loadLogo(path);
}

void ConfigDialog::on_btnRemoveLogo_clicked()
{
    showLogo(QString());
}

void ConfigDialog::on_btnAnalysisDefaults_clicked()
{
    // Only the controls change; nothing is stored until OK.
    const AnalysisParams defaults;
    setAnalysisControls([&](const char* key) { return defaults.value(key); });
}

void ConfigDialog::updateSvpbControls()
{
    const bool user = m_ui->rbtSVPBUser->isChecked();
    m_ui->lblSPVBPrematurityPct->setEnabled(user);
    m_ui->numSPVBPrematurityPct->setEnabled(user);
    m_ui->chkSPVBCompensatory->setEnabled(user);
}

void ConfigDialog::on_rbtSVPBAuto_toggled(bool)
{
    updateSvpbControls();
}

void ConfigDialog::on_rbtSVPBUser_toggled(bool)
{
    updateSvpbControls();
}

void ConfigDialog::updateFolderControls()
{
    const bool reports = m_ui->chkAutoExportReports->isChecked();
    m_ui->lblExportReportFolder->setEnabled(reports);
    m_ui->txtExportReportFolder->setEnabled(reports);
    m_ui->btnExportReportFolder->setEnabled(reports);
    const bool studies = m_ui->chkAutoExportStudies->isChecked();
    m_ui->lblExportStudyFolder->setEnabled(studies);
    m_ui->txtExportStudyFolder->setEnabled(studies);
    m_ui->btnExportStudyFolder->setEnabled(studies);
}

void ConfigDialog::on_chkAutoExportReports_clicked()
{
    updateFolderControls();
}

void ConfigDialog::on_chkAutoExportStudies_clicked()
{
    updateFolderControls();
}

void ConfigDialog::chooseFolder(QLineEdit* edit)
{
    const QString folder
        = QFileDialog::getExistingDirectory(this, tr("Select shared folder"), edit->text());
    if (!folder.isEmpty())
        edit->setText(QDir::toNativeSeparators(folder));
}

void ConfigDialog::on_btnExportReportFolder_clicked()
{
    chooseFolder(m_ui->txtExportReportFolder);
}

void ConfigDialog::on_btnExportStudyFolder_clicked()
{
    chooseFolder(m_ui->txtExportStudyFolder);
}

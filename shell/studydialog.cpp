#include "shell/studydialog.h"

#include "resources/holterresources.h"
#include "ui_studydialog.h"
#include "workflow/settingskeys.h"
#include "workflow/settingsreader.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QSettings>

namespace {

const char kStoredDateTime[] = "yyyyMMddHHmmss";
const char kStoredDate[] = "yyyyMMdd";
// Histories grow with what is typed; the oldest entries go beyond this many.
constexpr int kMaxHistory = 100;
// Ages beyond this are a typing mistake.
constexpr int kMaxAgeYears = 150;

QString text(const QByteArray& utf8)
{
    return QString::fromUtf8(utf8);
}

QByteArray bytes(const QString& text)
{
    return text.toUtf8();
}

// A non-negative decimal number with a point or a comma; false for anything else.
bool readNumber(const QString& typed, double& value)
{
    QString t = typed.trimmed();
    t.replace(',', '.');
    bool ok = false;
    value = QLocale::c().toDouble(t, &ok);
    return ok && value >= 0.0;
}

} // namespace

StudyDialog::StudyDialog(const QStringList& riskFactorNames, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::StudyDialog>())
    , m_riskFactorNames(riskFactorNames)
{
    initHolterResources();
    m_ui->setupUi(this);
    m_histories = {
        { m_ui->cboIdType, SettingsKeys::IdTypeList },
        { m_ui->cboMedicalGroup, SettingsKeys::MedicalGroupList },
        { m_ui->cboCity, SettingsKeys::CityList },
        { m_ui->cboState, SettingsKeys::StateList },
        { m_ui->cboTechnicianName, SettingsKeys::TechnicianNameList },
        { m_ui->cboDoctorName, SettingsKeys::DoctorNameList },
        { m_ui->cboReferringDoctorName, SettingsKeys::ReferringDoctorNameList },
    };
    buildRiskFactorRows();
    loadHistories();
    m_shownDateTime = m_ui->studyDateTime->dateTime();
    m_ui->listCategory->setCurrentRow(0);
}

StudyDialog::~StudyDialog() = default;

void StudyDialog::setNewStudy(bool newStudy)
{
    setWindowTitle(newStudy ? tr("New Holter study") : tr("Study data"));
}

void StudyDialog::buildRiskFactorRows()
{
    // The template row gives the offsets and the row height; it is not a factor itself.
    QCheckBox* templateCheck = m_ui->chkRiskFactor;
    QLineEdit* templateText = m_ui->txtRiskFactorComments;
    const int pitch = templateCheck->height() + 4;
    QWidget* rows = m_ui->riskFactorRows;
    int y = templateCheck->y();
    for (const QString& name : m_riskFactorNames) {
        auto* check = new QCheckBox(name, rows);
        check->setObjectName("chk_" + name);
        check->setProperty("riskFactorName", name);
        check->setGeometry(templateCheck->x(), y, templateCheck->width(), templateCheck->height());
        auto* comment = new QLineEdit(rows);
        comment->setObjectName("txt_" + name);
        comment->setPlaceholderText(templateText->placeholderText());
        comment->setGeometry(templateText->x(), y, templateText->width(), templateText->height());
        y += pitch;
    }
    templateCheck->hide();
    templateText->hide();
    rows->setMinimumSize(templateText->geometry().right() + templateCheck->x(), y);
}

void StudyDialog::loadHistories()
{
    const QSettings settings;
    for (const History& h : m_histories) {
        h.combo->addItems(SettingsReader::stringListValue(settings, h.key));
        h.combo->setCurrentIndex(-1);
        h.combo->setEditText(QString());
    }
}

void StudyDialog::saveHistories()
{
    QSettings settings;
    for (const History& h : m_histories) {
        QStringList list;
        for (int i = 0; i < h.combo->count(); ++i)
            list << h.combo->itemText(i);
        const QString typed = h.combo->currentText().trimmed();
        if (!typed.isEmpty() && !list.contains(typed))
            list << typed;
        list.removeAll(QString());
        while (list.size() > kMaxHistory)
            list.removeFirst();
        settings.setValue(h.key, list);
    }
}

void StudyDialog::setInfo(const StudyInfo& info)
{
    m_info = info;
    Ui::StudyDialog& ui = *m_ui;
    ui.txtLastName->setText(text(info.patientLastName));
    ui.txtFirstName->setText(text(info.patientFirstName));
    ui.txtWeight->setText(text(info.patientWeight));
    ui.txtHeight->setText(text(info.patientHeight));
    const QDate birth = QDate::fromString(text(info.patientBirthDate), kStoredDate);
    ui.txtBirthDate->setText(birth.isValid() ? birth.toString("d/M/yyyy") : QString());
    ui.txtAge->setText(text(info.patientAge));
    ui.cboSex->setCurrentIndex(info.patientSex == "M" ? 1 : info.patientSex == "F" ? 2 : 0);
    ui.cboIdType->setEditText(text(info.patientPersonIdType));
    ui.txtIdNumber->setText(text(info.patientPersonIdNumber));
    ui.cboMedicalGroup->setEditText(text(info.patientMedicalGroupName));
    ui.txtMedicalGroupNumber->setText(text(info.patientMedicalGroupNumber));
    ui.txtMedicalHistoryNumber->setText(text(info.patientMedicalHistoryNumber));
    ui.txtPhoneNumber->setText(text(info.patientPhoneNumber));
    ui.txtAddress->setText(text(info.patientAddress));
    ui.cboCity->setEditText(text(info.patientCity));
    ui.cboState->setEditText(text(info.patientState));

    const QDateTime date = QDateTime::fromString(text(info.studyDateTime), kStoredDateTime);
    if (date.isValid())
        ui.studyDateTime->setDateTime(date);
    m_shownDateTime = ui.studyDateTime->dateTime();
    ui.cboDoctorName->setEditText(text(info.doctorName));
    ui.cboReferringDoctorName->setEditText(text(info.referringDoctorName));
    ui.cboTechnicianName->setEditText(text(info.technicianName));
    ui.txtIndication->setPlainText(text(info.indication));
    ui.txtMedication->setPlainText(text(info.treatment));
    ui.txtComments->setPlainText(text(info.comments));

    for (const RiskFactorEntry& factor : info.riskFactors) {
        const QString name = text(factor.name);
        if (auto* check = findChild<QCheckBox*>("chk_" + name))
            check->setChecked(factor.status);
        if (auto* comment = findChild<QLineEdit*>("txt_" + name))
            comment->setText(text(factor.comment));
    }
    updateBmi();
}

QDate StudyDialog::parseBirthDate(const QString& typed)
{
    const QString t = typed.trimmed();
    const QDate full = QDate::fromString(t, "d/M/yyyy");
    if (full.isValid() && full.year() >= 1000)
        return full;
    return QDate::fromString(t, "d/M/yy");
}

int StudyDialog::ageAt(const QDate& birth, const QDate& studyDate)
{
    if (!birth.isValid() || !studyDate.isValid())
        return 0;
    int age = studyDate.year() - birth.year() - 1;
    if (birth.month() < studyDate.month()
        || (birth.month() == studyDate.month() && birth.day() <= studyDate.day()))
        ++age;
    return age > 0 ? age : 0;
}

void StudyDialog::on_listCategory_currentRowChanged(int currentRow)
{
    if (currentRow < 0 || currentRow >= m_ui->pages->count())
        return;
    m_ui->pages->setCurrentIndex(currentRow);
    QWidget* first = currentRow == 0 ? static_cast<QWidget*>(m_ui->txtLastName)
        : currentRow == 2            ? static_cast<QWidget*>(m_ui->studyDateTime)
        : m_riskFactorNames.isEmpty()
        ? nullptr
        : findChild<QCheckBox*>("chk_" + m_riskFactorNames.first());
    if (first)
        first->setFocus();
}

void StudyDialog::updateBmi()
{
    double weightKg = 0.0, heightCm = 0.0;
    const bool weightRead = readNumber(m_ui->txtWeight->text(), weightKg);
    const double heightM = readNumber(m_ui->txtHeight->text(), heightCm) ? heightCm * 0.01 : 0.0;
    if (weightRead && heightM > 0.0)
        m_ui->txtBMI->setText(QString::number(weightKg / (heightM * heightM), 'f', 1));
    else
        m_ui->txtBMI->clear();
}

void StudyDialog::on_txtWeight_textEdited(const QString&)
{
    updateBmi();
}

void StudyDialog::on_txtHeight_textEdited(const QString&)
{
    updateBmi();
}

void StudyDialog::on_txtBirthDate_textEdited(const QString& typed)
{
    // Age at the date of the study, not today.
    const int age = ageAt(parseBirthDate(typed), m_ui->studyDateTime->date());
    m_ui->txtAge->setText(age > 0 ? QString::number(age) : QString());
}

void StudyDialog::on_txtAge_textEdited(const QString&)
{
    // A typed age replaces the birth date, so that the two can't contradict each other.
    m_ui->txtBirthDate->clear();
}

QString StudyDialog::validationError() const
{
    const QString birth = m_ui->txtBirthDate->text().trimmed();
    if (!birth.isEmpty()) {
        const QDate date = parseBirthDate(birth);
        if (!date.isValid())
            return tr("The birth date \"%1\" is not a valid date. Please type it as "
                      "day/month/year.")
                .arg(birth);
        if (date > m_ui->studyDateTime->date())
            return tr("The birth date %1 is after the date of the study.").arg(birth);
    }
    const struct
    {
        const QLineEdit* edit;
        QString name;
    } numbers[] = { { m_ui->txtWeight, tr("The weight") }, { m_ui->txtHeight, tr("The height") } };
    for (const auto& n : numbers) {
        double value = 0.0;
        const QString typed = n.edit->text().trimmed();
        if (!typed.isEmpty() && !readNumber(typed, value))
            return tr("%1 \"%2\" is not a valid number.").arg(n.name, typed);
    }
    const QString age = m_ui->txtAge->text().trimmed();
    bool ok = true;
    const int years = age.isEmpty() ? 0 : age.toInt(&ok);
    if (!ok || years < 0 || years > kMaxAgeYears)
        return tr("The age \"%1\" is not a valid number of years.").arg(age);
    return QString();
}

void StudyDialog::accept()
{
    const QString error = validationError();
    if (!error.isEmpty()) {
        QMessageBox::warning(this, tr("Warning"), error);
        return;
    }
    QDialog::accept();
}

QByteArray StudyDialog::editedStudyDateTime() const
{
    const QDateTime shown = m_ui->studyDateTime->dateTime();
    if (shown == m_shownDateTime)
        return m_info.studyDateTime;
    return shown.toString(kStoredDateTime).toUtf8();
}

void StudyDialog::on_StudyDialog_accepted()
{
    Ui::StudyDialog& ui = *m_ui;
    StudyInfo& info = m_info;
    info.patientLastName = bytes(ui.txtLastName->text());
    info.patientFirstName = bytes(ui.txtFirstName->text());
    info.patientWeight = bytes(ui.txtWeight->text());
    info.patientHeight = bytes(ui.txtHeight->text());
    info.patientPersonIdType = bytes(ui.cboIdType->currentText());
    info.patientPersonIdNumber = bytes(ui.txtIdNumber->text());
    info.patientMedicalGroupName = bytes(ui.cboMedicalGroup->currentText());
    info.patientMedicalGroupNumber = bytes(ui.txtMedicalGroupNumber->text());
    info.patientMedicalHistoryNumber = bytes(ui.txtMedicalHistoryNumber->text());
    info.patientPhoneNumber = bytes(ui.txtPhoneNumber->text());
    info.patientAddress = bytes(ui.txtAddress->text());
    info.patientCity = bytes(ui.cboCity->currentText());
    info.patientState = bytes(ui.cboState->currentText());

    const QDate birth = parseBirthDate(ui.txtBirthDate->text());
    info.patientBirthDate = birth.isValid() ? birth.toString(kStoredDate).toUtf8() : QByteArray();
    info.patientAge = bytes(ui.txtAge->text());
    const int sex = ui.cboSex->currentIndex();
    info.patientSex = sex == 1 ? "M" : sex == 2 ? "F" : "";

    const QByteArray date = editedStudyDateTime();
    if (date != info.recordingDateTime)
        QMessageBox::information(this, tr("Information"),
            tr("Please reopen the study to apply new recording date/time."));
    info.recordingDateTime = date;
    info.studyDateTime = date;

    info.indication = ui.txtIndication->toPlainText().toUtf8();
    info.treatment = ui.txtMedication->toPlainText().toUtf8();
    info.comments = ui.txtComments->toPlainText().toUtf8();
    info.doctorName = bytes(ui.cboDoctorName->currentText());
    info.referringDoctorName = bytes(ui.cboReferringDoctorName->currentText());
    info.technicianName = bytes(ui.cboTechnicianName->currentText());

    // Factors outside the repository's list are dropped here.
    info.riskFactors.clear();
    for (const QString& name : m_riskFactorNames) {
        const auto* check = findChild<QCheckBox*>("chk_" + name);
        const auto* comment = findChild<QLineEdit*>("txt_" + name);
        if (!check || !comment)
            continue;
        info.riskFactors.append({ name.toUtf8(), check->isChecked(), bytes(comment->text()) });
    }
    saveHistories();
}

#include "shell/studydialog.h"
#include "tests/shell/modalanswer.h"
#include "workflow/settingskeys.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>

#include <gtest/gtest.h>

using shelltest::ModalAnswer;

namespace {

const QStringList kFactors = { "Hipertensión", "Tabaquismo actual", "Diabetes" };

template <typename T> T* child(const QWidget& w, const QString& name)
{
    T* found = w.findChild<T*>(name);
    EXPECT_NE(found, nullptr) << "missing " << name.toStdString();
    return found;
}

// Every field the dialog shows, with values that survive the trip exactly.
StudyInfo fullInfo()
{
    StudyInfo i;
    i.id = 7;
    i.baseFilename = "20240115-0900-paz";
    i.status = "processed";
    i.studyType = "Holter";
    i.studyDateTime = i.recordingDateTime = "20240115093000";
    i.conclusion = "Ritmo sinusal";
    i.samplingRate = 500;
    i.patientAnimalSpecies = "canine";
    i.patientLastName = "Paz Núñez";
    i.patientFirstName = "Eva";
    i.patientWeight = "70";
    i.patientHeight = "175";
    i.patientBirthDate = "19850201";
    i.patientAge = "38";
    i.patientSex = "F";
    i.patientPersonIdType = "DNI";
    i.patientPersonIdNumber = "12345678";
    i.patientMedicalGroupName = "OSDE";
    i.patientMedicalGroupNumber = "99-1";
    i.patientMedicalHistoryNumber = "HC-4411";
    i.patientPhoneNumber = "+54 11 5555";
    i.patientAddress = "Calle 1 234";
    i.patientCity = "Rosario";
    i.patientState = "Santa Fe";
    i.doctorName = "Dr. Ruiz";
    i.referringDoctorName = "Dra. Gil";
    i.technicianName = "Ana";
    i.indication = "Palpitaciones\nnocturnas";
    i.treatment = "Atenolol 50 mg";
    i.comments = "Sin eventos";
    i.riskFactors = { { "Hipertensión", true, "desde 2019" }, { "Tabaquismo actual", false, "" },
        { "Diabetes", true, "" } };
    return i;
}

class StudyDialogTest : public ::testing::Test
{
protected:
    void SetUp() override { shelltest::useEmptyAppSettings(); }

    // Clicks OK; true when the dialog closed accepted. The message boxes on the way go to
    // `messages`; without it there must be none.
    static bool clickOk(StudyDialog& d, QStringList* messages = nullptr)
    {
        QSignalSpy accepted(&d, &QDialog::accepted);
        ModalAnswer answers;
        QTest::mouseClick(child<QDialogButtonBox>(d, "buttonBox")->button(QDialogButtonBox::Ok),
            Qt::LeftButton);
        if (messages)
            *messages = answers.messages();
        else
            EXPECT_EQ(answers.messages(), QStringList());
        return accepted.count() == 1 && !d.isVisible() && d.result() == QDialog::Accepted;
    }
};

TEST_F(StudyDialogTest, EveryFieldRoundTripsAndUnknownRiskFactorsAreDropped)
{
    StudyInfo in = fullInfo();
    in.riskFactors.append({ "Gota", true, "no listed here" });
    StudyDialog d(kFactors);
    d.setInfo(in);
    d.show();

    // Shown as the user reads them.
    EXPECT_EQ(child<QLineEdit>(d, "txtBirthDate")->text(), "1/2/1985");
    EXPECT_EQ(child<QComboBox>(d, "cboSex")->currentIndex(), 2);
    EXPECT_EQ(child<QLineEdit>(d, "txtBMI")->text(), "22.9");
    EXPECT_EQ(child<QComboBox>(d, "cboCity")->currentText(), "Rosario");
    EXPECT_EQ(child<QDateTimeEdit>(d, "studyDateTime")->dateTime(),
        QDateTime(QDate(2024, 1, 15), QTime(9, 30)));
    EXPECT_TRUE(child<QCheckBox>(d, "chk_Hipertensión")->isChecked());
    EXPECT_EQ(child<QCheckBox>(d, "chk_Diabetes")->property("riskFactorName").toString(),
        "Diabetes");
    EXPECT_EQ(child<QLineEdit>(d, "txt_Hipertensión")->text(), "desde 2019");
    EXPECT_EQ(d.findChild<QCheckBox*>("chk_Gota"), nullptr);

    // Two edits by hand on the way.
    child<QComboBox>(d, "cboSex")->setCurrentIndex(1);
    child<QListWidget>(d, "listCategory")->setCurrentRow(1);
    QTest::mouseClick(child<QCheckBox>(d, "chk_Tabaquismo actual"), Qt::LeftButton, {},
        QPoint(6, 10));
    ASSERT_TRUE(clickOk(d)) << "no notice for an unchanged date";
    StudyInfo expected = fullInfo();
    expected.patientSex = "M";
    expected.riskFactors[1].status = true;
    EXPECT_EQ(d.info().riskFactors, expected.riskFactors);
    expected.riskFactors = d.info().riskFactors;
    // Field by field through the one record; the fields the dialog doesn't show stay.
    EXPECT_EQ(d.info().baseFilename, expected.baseFilename);
    EXPECT_EQ(d.info().conclusion, expected.conclusion);
    EXPECT_EQ(d.info().patientAnimalSpecies, expected.patientAnimalSpecies);
    EXPECT_EQ(d.info().samplingRate, 500);
    const QByteArray StudyInfo::*fields[] = { &StudyInfo::patientLastName,
        &StudyInfo::patientFirstName, &StudyInfo::patientWeight, &StudyInfo::patientHeight,
        &StudyInfo::patientBirthDate, &StudyInfo::patientAge, &StudyInfo::patientSex,
        &StudyInfo::patientPersonIdType, &StudyInfo::patientPersonIdNumber,
        &StudyInfo::patientMedicalGroupName, &StudyInfo::patientMedicalGroupNumber,
        &StudyInfo::patientMedicalHistoryNumber, &StudyInfo::patientPhoneNumber,
        &StudyInfo::patientAddress, &StudyInfo::patientCity, &StudyInfo::patientState,
        &StudyInfo::doctorName, &StudyInfo::referringDoctorName, &StudyInfo::technicianName,
        &StudyInfo::indication, &StudyInfo::treatment, &StudyInfo::comments,
        &StudyInfo::studyDateTime, &StudyInfo::recordingDateTime };
    for (auto field : fields)
        EXPECT_EQ(d.info().*field, expected.*field) << (expected.*field).constData();
}

// Age counts at the study's date (15 Jan 2024); a typed age empties the birth date.
TEST_F(StudyDialogTest, BirthDateGivesTheAgeAtTheStudyDate)
{
    const std::pair<const char*, const char*> cases[] = {
        { "1/2/85", "38" }, // two-digit year by the second rule
        { "15/1/1990", "34" }, // the birthday on the study date counts
        { "16/1/1990", "33" },
        { "14/1/1990", "34" },
        { "1/6/2023", "" }, // under one year
        { "1/6/2025", "" }, // after the study
        { "31/2/1990", "" }, // no such date
        { "ayer", "" },
    };
    StudyDialog d(kFactors);
    d.setInfo(fullInfo());
    d.show();
    QLineEdit* birth = child<QLineEdit>(d, "txtBirthDate");
    QLineEdit* age = child<QLineEdit>(d, "txtAge");
    for (const auto& [typed, years] : cases) {
        SCOPED_TRACE(typed);
        birth->clear();
        QTest::keyClicks(birth, typed);
        EXPECT_EQ(age->text(), years);
    }
    EXPECT_EQ(StudyDialog::parseBirthDate("1/2/85"), QDate(1985, 2, 1));
    EXPECT_FALSE(StudyDialog::parseBirthDate("1/2/0085").isValid()) << "the year 85 is refused";

    birth->clear();
    QTest::keyClicks(birth, "15/1/1990");
    age->clear();
    QTest::keyClicks(age, "40");
    EXPECT_EQ(birth->text(), "");
    ASSERT_TRUE(clickOk(d));
    EXPECT_EQ(d.info().patientAge, "40");
    EXPECT_EQ(d.info().patientBirthDate, "");
}

TEST_F(StudyDialogTest, BmiFollowsWeightAndHeight)
{
    const struct
    {
        const char* weight;
        const char* height;
        const char* bmi;
    } cases[] = { { "70", "175", "22.9" }, { "72,5", "180", "22.4" }, { "70", "0", "" },
        { "70", "", "" }, { "", "175", "" }, { "70", "1,75m", "" } };
    StudyDialog d(kFactors);
    d.show();
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.weight) + " kg, " + c.height + " cm");
        child<QLineEdit>(d, "txtWeight")->clear();
        child<QLineEdit>(d, "txtHeight")->clear();
        QTest::keyClicks(child<QLineEdit>(d, "txtWeight"), c.weight);
        QTest::keyClicks(child<QLineEdit>(d, "txtHeight"), c.height);
        EXPECT_EQ(child<QLineEdit>(d, "txtBMI")->text(), c.bmi);
        EXPECT_TRUE(child<QLineEdit>(d, "txtBMI")->isReadOnly());
    }
}

// Input that doesn't read is refused with a message naming it; the dialog stays open with the
// text as typed, and OK works once it is put right.
TEST_F(StudyDialogTest, InvalidDatesAndNumbersKeepTheDialogOpen)
{
    const struct
    {
        const char* field;
        const char* typed;
        const char* message;
    } cases[] = {
        { "txtBirthDate", "31/2/1990", "The birth date \"31/2/1990\" is not a valid date" },
        { "txtBirthDate", "1/1/2030", "after the date of the study" },
        { "txtWeight", "setenta", "The weight \"setenta\" is not a valid number." },
        { "txtHeight", "-170", "The height \"-170\" is not a valid number." },
        { "txtAge", "38.5", "The age \"38.5\" is not a valid number of years." },
        { "txtAge", "400", "The age \"400\" is not a valid number of years." },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.field) + " " + c.typed);
        StudyDialog d(kFactors);
        const StudyInfo before = fullInfo();
        d.setInfo(before);
        d.show();
        QLineEdit* edit = child<QLineEdit>(d, c.field);
        edit->clear();
        QTest::keyClicks(edit, c.typed);
        QStringList messages;
        EXPECT_FALSE(clickOk(d, &messages));
        ASSERT_EQ(messages.size(), 1);
        EXPECT_TRUE(messages[0].startsWith("Warning: "));
        EXPECT_TRUE(messages[0].contains(c.message)) << messages[0].toStdString();
        EXPECT_TRUE(d.isVisible());
        EXPECT_EQ(edit->text(), c.typed);
        EXPECT_EQ(d.info().patientLastName, before.patientLastName);
        edit->clear();
        EXPECT_TRUE(clickOk(d));
    }
}

// A changed date is announced once, on OK, and written to both dates; an unchanged one keeps
// even the seconds that the editor doesn't show.
TEST_F(StudyDialogTest, ChangedStudyDateIsAnnouncedOnceAndSetsBothDates)
{
    for (const bool change : { false, true }) {
        SCOPED_TRACE(change ? "changed" : "unchanged");
        StudyInfo in = fullInfo();
        in.studyDateTime = in.recordingDateTime = "20240115093012";
        StudyDialog d(kFactors);
        d.setInfo(in);
        d.show();
        if (change)
            child<QDateTimeEdit>(d, "studyDateTime")
                ->setDateTime(QDateTime(QDate(2024, 1, 16), QTime(8, 5)));
        QStringList messages;
        ASSERT_TRUE(clickOk(d, &messages));
        const QByteArray expected = change ? "20240116080500" : "20240115093012";
        EXPECT_EQ(d.info().studyDateTime, expected);
        EXPECT_EQ(d.info().recordingDateTime, expected);
        EXPECT_EQ(messages,
            change ? QStringList { "Information: Please reopen the study to apply new recording "
                                   "date/time." }
                   : QStringList());
    }
}

TEST_F(StudyDialogTest, CombosKeepTheirHistoriesInTheSettings)
{
    QSettings().setValue(SettingsKeys::CityList, QStringList { "Rosario", "Salta" });
    QSettings().setValue(SettingsKeys::DoctorNameList, "Dr. Ruiz");
    {
        StudyDialog d(kFactors);
        d.show();
        QComboBox* city = child<QComboBox>(d, "cboCity");
        EXPECT_EQ(city->count(), 2);
        EXPECT_EQ(city->currentText(), "") << "the text starts empty";
        EXPECT_EQ(child<QComboBox>(d, "cboDoctorName")->itemText(0), "Dr. Ruiz");
        city->setEditText("Córdoba");
        child<QComboBox>(d, "cboDoctorName")->setEditText("Dr. Ruiz");
        child<QComboBox>(d, "cboState")->setEditText("  ");
        ASSERT_TRUE(clickOk(d));
    }
    const QSettings settings;
    EXPECT_EQ(settings.value(SettingsKeys::CityList).toStringList(),
        QStringList({ "Rosario", "Salta", "Córdoba" }));
    EXPECT_EQ(settings.value(SettingsKeys::DoctorNameList).toStringList(),
        QStringList { "Dr. Ruiz" });
    EXPECT_TRUE(settings.value(SettingsKeys::StateList).toStringList().isEmpty());

    // Cancel writes nothing.
    StudyDialog d(kFactors);
    d.show();
    child<QComboBox>(d, "cboCity")->setEditText("Mendoza");
    QTest::mouseClick(child<QDialogButtonBox>(d, "buttonBox")->button(QDialogButtonBox::Cancel),
        Qt::LeftButton);
    EXPECT_EQ(QSettings().value(SettingsKeys::CityList).toStringList().size(), 3);
}

TEST_F(StudyDialogTest, PagesTitleAndRiskFactorRows)
{
    StudyDialog d(kFactors);
    EXPECT_EQ(d.windowTitle(), "Study data");
    d.setNewStudy(true);
    EXPECT_EQ(d.windowTitle(), "New Holter study");
    d.show();
    auto* list = child<QListWidget>(d, "listCategory");
    auto* pages = child<QStackedWidget>(d, "pages");
    ASSERT_EQ(list->count(), 3);
    const char* pageNames[] = { "pagePatient", "pageRiskFactors", "pageStudyInfo" };
    for (int row : { 2, 1, 0 }) {
        list->setCurrentRow(row);
        EXPECT_EQ(pages->currentWidget()->objectName(), pageNames[row]);
    }
    // One row per factor, each below the last, none overlapping.
    int lastY = -1;
    for (const QString& name : kFactors) {
        const QCheckBox* check = child<QCheckBox>(d, "chk_" + name);
        const QLineEdit* text = child<QLineEdit>(d, "txt_" + name);
        EXPECT_EQ(check->y(), text->y());
        EXPECT_GE(check->y(), lastY + check->height());
        lastY = check->y();
    }
}

} // namespace

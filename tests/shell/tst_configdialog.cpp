#include "shell/configdialog.h"
#include "tests/shell/modalanswer.h"
#include "tests/support/testsupport.h"
#include "workflow/settingskeys.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTest>

#include <gtest/gtest.h>

using shelltest::ModalAnswer;
namespace K = SettingsKeys;

namespace {

// A key, the control that shows it, its first-start value and another value for it.
struct KeyRow
{
    const char* key;
    const char* control;
    QVariant initial;
    QVariant changed;
};

// In the order the dialog writes them. The logo's changed value is set by the test.
const std::vector<KeyRow>& keyRows()
{
    static const std::vector<KeyRow> rows = {
        { K::HeaderLogoFilename, "logoImage", QString(), QString() },
        { K::HeaderTitle, "txtHeaderTitle", QString(), "Clínica del Sur" },
        { K::HeaderInfo, "txtHeaderInfo", QString(), "Cardiología, tel. 555" },
        { K::PauseIntervalSecs, "numPauseInterval", 2.0, 3.5 },
        { K::TachycardiaBPMLimit, "numTachyBPM", 120, 150 },
        { K::BradycardiaBPMLimit, "numBradyBPM", 40, 35 },
        { K::ArrhythmiaMinDurationSecs, "numArrhythmiaDuration", 5, 12 },
        { K::QTCorrectionFormulaId, "cboQTcFormula", 0, 3 },
        { K::AllowTypeV, "chkAllowTypeV", true, false },
        { K::AllowTypeF, "chkAllowTypeF", true, false },
        { K::AllowTypeS, "chkAllowTypeS", true, false },
        { K::AllowTypeU, "chkAllowTypeU", true, false },
        { K::SVPBUserDefined, "rbtSVPBUser", false, true },
        { K::SVPBPrematurityPct, "numSPVBPrematurityPct", 20, 35 },
        { K::SVPBCompensatory, "chkSPVBCompensatory", false, true },
        { K::AutoExportReports, "chkAutoExportReports", false, true },
        { K::ExportReportFolder, "txtExportReportFolder", QString(), "/shared/reports" },
        { K::AutoExportStudies, "chkAutoExportStudies", false, true },
        { K::ExportStudyFolder, "txtExportStudyFolder", QString(), "/shared/studies" },
    };
    return rows;
}

QVariant controlValue(const ConfigDialog& d, const char* name)
{
    QWidget* w = d.findChild<QWidget*>(name);
    EXPECT_NE(w, nullptr) << name;
    if (auto* e = qobject_cast<QLineEdit*>(w))
        return e->text();
    if (auto* b = qobject_cast<QAbstractButton*>(w))
        return b->isChecked();
    if (auto* s = qobject_cast<QSpinBox*>(w))
        return s->value();
    if (auto* s = qobject_cast<QDoubleSpinBox*>(w))
        return s->value();
    if (auto* c = qobject_cast<QComboBox*>(w))
        return c->currentData();
    if (qobject_cast<QLabel*>(w))
        return d.logoFile();
    return {};
}

void setControl(ConfigDialog& d, const char* name, const QVariant& value)
{
    QWidget* w = d.findChild<QWidget*>(name);
    ASSERT_NE(w, nullptr) << name;
    if (auto* e = qobject_cast<QLineEdit*>(w))
        e->setText(value.toString());
    else if (auto* b = qobject_cast<QAbstractButton*>(w))
        b->setChecked(value.toBool());
    else if (auto* s = qobject_cast<QSpinBox*>(w))
        s->setValue(value.toInt());
    else if (auto* s = qobject_cast<QDoubleSpinBox*>(w))
        s->setValue(value.toDouble());
    else if (auto* c = qobject_cast<QComboBox*>(w))
        c->setCurrentIndex(c->findData(value));
    else if (qobject_cast<QLabel*>(w)) {
        EXPECT_TRUE(d.loadLogo(value.toString()));
    }
}

// Types a path into a file dialog and accepts it. (selectFile() leaves the name alone while its
// line has the focus, which it has once the application is active.)
void typeFileName(QFileDialog& files, const QString& path)
{
    auto* name = files.findChild<QLineEdit*>("fileNameEdit");
    ASSERT_NE(name, nullptr);
    name->setText(path);
    static_cast<QDialog&>(files).accept();
}

// Chooses a page and lets it lay out, so that clicks land on its controls.
void showPage(ConfigDialog& d, int row)
{
    d.findChild<QListWidget*>("listCategory")->setCurrentRow(row);
    QApplication::processEvents();
}

// Check boxes and radio buttons take clicks on their indicator and text only.
void clickIndicator(QAbstractButton* button)
{
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
}

void clickButton(ConfigDialog& d, QDialogButtonBox::StandardButton which)
{
    QTest::mouseClick(d.findChild<QDialogButtonBox*>("buttonBox")->button(which), Qt::LeftButton);
}

class ConfigDialogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        shelltest::useEmptyAppSettings();
        QImage logo(60, 30, QImage::Format_RGB32);
        logo.fill(Qt::darkCyan);
        ASSERT_TRUE(logo.save(m_logo));
    }
    testsupport::TempRoot m_temp;
    QString m_logo = m_temp.file("logo.png");
};

// The very first start, and a store whose values all have the wrong type, show every default.
TEST_F(ConfigDialogTest, FirstStartAndDamagedSettingsShowTheDefaults)
{
    for (const bool damaged : { false, true }) {
        SCOPED_TRACE(damaged ? "damaged" : "first start");
        if (damaged) {
            QSettings settings;
            for (const KeyRow& row : keyRows()) {
                const bool text = row.initial.userType() == QMetaType::QString;
                settings.setValue(row.key,
                    text ? QVariant(QVariantMap { { "a", 1 } }) : QVariant("mucho"));
            }
            settings.setValue(K::SVPBPrematurityPct, 250);
        }
        ConfigDialog d;
        d.show();
        EXPECT_EQ(d.windowTitle(), "Configuration");
        for (const KeyRow& row : keyRows())
            EXPECT_EQ(controlValue(d, row.control), row.initial) << row.key;
        EXPECT_EQ(d.findChild<QLabel*>("logoImage")->text(), "[none]");
        EXPECT_TRUE(d.findChild<QRadioButton*>("rbtSVPBAuto")->isChecked());
        for (const char* disabled : { "numSPVBPrematurityPct", "chkSPVBCompensatory",
                 "txtExportReportFolder", "btnExportReportFolder", "txtExportStudyFolder",
                 "btnExportStudyFolder" })
            EXPECT_FALSE(d.findChild<QWidget*>(disabled)->isEnabled()) << disabled;
        auto* formulas = d.findChild<QComboBox*>("cboQTcFormula");
        ASSERT_EQ(formulas->count(), 4);
        EXPECT_EQ(formulas->itemText(1), "Fredericia");
        EXPECT_EQ(formulas->itemData(3).toInt(), 3);
    }
}

// OK writes every key of the table, in its order; a new dialog shows what was written.
TEST_F(ConfigDialogTest, OkWritesEveryKeyInOrder)
{
    std::vector<KeyRow> rows = keyRows();
    rows[0].changed = m_logo;
    ConfigDialog d;
    d.show();
    for (const KeyRow& row : rows)
        setControl(d, row.control, row.changed);
    const auto values = d.settingsValues();
    ASSERT_EQ(values.size(), int(rows.size()));
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(values[int(i)].first, rows[i].key) << "written in the table's order";

    clickButton(d, QDialogButtonBox::Ok);
    QSettings settings;
    settings.sync();
    // Read back as the text stores hold them.
    for (const KeyRow& row : rows) {
        EXPECT_EQ(settings.value(row.key).toString(), row.changed.toString()) << row.key;
    }

    ConfigDialog again;
    for (const KeyRow& row : rows)
        EXPECT_EQ(controlValue(again, row.control), row.changed) << row.key;
    EXPECT_FALSE(again.findChild<QLabel*>("logoImage")->pixmap(Qt::ReturnByValue).isNull());
    EXPECT_TRUE(again.findChild<QSpinBox*>("numSPVBPrematurityPct")->isEnabled());
    EXPECT_TRUE(again.findChild<QLineEdit*>("txtExportStudyFolder")->isEnabled());
}

TEST_F(ConfigDialogTest, RestoreDefaultsThenCancelChangesNothing)
{
    const std::vector<KeyRow> analysis(keyRows().begin() + 3, keyRows().begin() + 8);
    for (const KeyRow& row : analysis)
        QSettings().setValue(row.key, row.changed);
    ConfigDialog d;
    d.show();
    for (const KeyRow& row : analysis)
        EXPECT_EQ(controlValue(d, row.control), row.changed) << row.key;
    QTest::mouseClick(d.findChild<QPushButton*>("btnAnalysisDefaults"), Qt::LeftButton);
    for (const KeyRow& row : analysis)
        EXPECT_EQ(controlValue(d, row.control), row.initial) << row.key;
    clickButton(d, QDialogButtonBox::Cancel);
    for (const KeyRow& row : analysis)
        EXPECT_EQ(QSettings().value(row.key).toString(), row.changed.toString()) << row.key;
}

// The logo is chosen in a file dialog; a file that isn't an image warns and keeps the logo.
TEST_F(ConfigDialogTest, LogoLoadsWarnsOnANonImageAndIsRemoved)
{
    const QString notImage = m_temp.file("notes.png");
    testsupport::writeAll(notImage, "not a picture");
    QString pick = m_logo;
    ModalAnswer answers([&](QFileDialog& files) {
        EXPECT_EQ(files.windowTitle(), "Open Image");
        EXPECT_EQ(files.nameFilters(), QStringList { "Image Files (*.png *.jpg *.bmp)" });
        typeFileName(files, pick);
    });
    ConfigDialog d;
    d.show();
    auto* label = d.findChild<QLabel*>("logoImage");
    QTest::mouseClick(d.findChild<QPushButton*>("btnSelectLogo"), Qt::LeftButton);
    EXPECT_EQ(d.logoFile(), m_logo);
    EXPECT_FALSE(label->pixmap(Qt::ReturnByValue).isNull());
    EXPECT_TRUE(answers.messages().isEmpty());

    pick = notImage;
    QTest::mouseClick(d.findChild<QPushButton*>("btnSelectLogo"), Qt::LeftButton);
    EXPECT_EQ(answers.messages(),
        QStringList { "Warning: Logo image could not be loaded from file: " + notImage });
    EXPECT_EQ(d.logoFile(), m_logo);

    QTest::mouseClick(d.findChild<QPushButton*>("btnRemoveLogo"), Qt::LeftButton);
    EXPECT_EQ(d.logoFile(), QString());
    EXPECT_EQ(label->text(), "[none]");
}

// The user rule's controls follow "User defined"; each folder follows its check box, and the
// folder button fills the line.
TEST_F(ConfigDialogTest, ControlsFollowTheirChoices)
{
    ConfigDialog d;
    d.show();
    showPage(d, 2);
    EXPECT_EQ(d.findChild<QStackedWidget*>("pages")->currentWidget()->objectName(),
        "pageClassification");
    auto* pct = d.findChild<QSpinBox*>("numSPVBPrematurityPct");
    clickIndicator(d.findChild<QRadioButton*>("rbtSVPBUser"));
    EXPECT_TRUE(pct->isEnabled());
    EXPECT_TRUE(d.findChild<QLabel*>("lblSPVBPrematurityPct")->isEnabled());
    clickIndicator(d.findChild<QRadioButton*>("rbtSVPBAuto"));
    EXPECT_FALSE(pct->isEnabled());
    EXPECT_FALSE(d.findChild<QCheckBox*>("chkSPVBCompensatory")->isEnabled());

    showPage(d, 3);
    auto* check = d.findChild<QCheckBox*>("chkAutoExportReports");
    auto* folder = d.findChild<QLineEdit*>("txtExportReportFolder");
    clickIndicator(check);
    EXPECT_TRUE(folder->isEnabled());
    ModalAnswer answers([&](QFileDialog& files) {
        EXPECT_EQ(files.windowTitle(), "Select shared folder");
        typeFileName(files, m_temp.path());
    });
    QTest::mouseClick(d.findChild<QPushButton*>("btnExportReportFolder"), Qt::LeftButton);
    EXPECT_EQ(folder->text(), QDir::toNativeSeparators(m_temp.path()));
    clickIndicator(check);
    EXPECT_FALSE(folder->isEnabled());
    EXPECT_FALSE(d.findChild<QPushButton*>("btnExportReportFolder")->isEnabled());
}

} // namespace

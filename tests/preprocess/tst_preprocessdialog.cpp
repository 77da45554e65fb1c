#include "analysis/studyprocessor.h"
#include "preprocess/preprocessdialog.h"
#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "review/qsignalbrowsedisplay.h"
#include "store/beat.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tests/support/testsupport.h"
#include "tests/workflow/slowstudy.h"
#include "tools/simulator.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTimer>

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

using testsupport::FailingIo;
using testsupport::TempRoot;

namespace {

const char* const kDiskMessage
    = "Could not complete operation.\nPlease check available disk space.";

// Three minutes from the simulated recorder, downloaded and opened as the window would.
int downloadSimulated(StudyRepository& repo, const QString& root)
{
    const QString card = root + "/card";
    Simulator(parseSimulatorScript("hours 0.05\nstart 2026-03-02 08:30:00\n", "t"), 3)
        .writeAll(card, 512);
    CardImportOptions import;
    import.patient.lastName = "Paz";
    import.patient.firstName = "Eva";
    import.patient.start = QDateTime(QDate(2026, 3, 2), QTime(8, 30));
    const QString file = CardSignalFile::dataFilePath(card);
    return importCard(repo, file, CardSignalFile::findDataOffset(file), import);
}

// A store with one open study, a dialog on it, and settings cleared.
struct Fixture
{
    enum Kind { Simulated, LongSlow };

    explicit Fixture(Kind kind = Simulated, StoreIo* io = nullptr)
    {
        QSettings().clear();
        repo = slowstudy::repository(root.path() + "/store", io);
        // 25 hours at a low rate: long enough for the 24-hour trim.
        const int id = kind == Simulated ? downloadSimulated(*repo, root.path())
                                         : slowstudy::make(*repo, 25 * slowstudy::kHour);
        study = repo->openStudy(id);
        base = study->property("baseFilename");
    }
    ~Fixture()
    {
        dialog.reset();
        if (study)
            repo->closeStudy(study);
    }

    PreprocessDialog& open()
    {
        dialog = std::make_unique<PreprocessDialog>(*repo, study, false);
        dialog->show();
        return *dialog;
    }
    template <typename T> T* w(const char* name) const
    {
        T* found = dialog->findChild<T*>(QLatin1String(name));
        EXPECT_TRUE(found) << name;
        return found;
    }
    QString ecgPath(const QByteArray& name) const { return repo->studyPath(name, "vtecg"); }

    TempRoot root;
    std::unique_ptr<StudyRepository> repo;
    Study* study = nullptr;
    QByteArray base;
    std::unique_ptr<PreprocessDialog> dialog;
};

// Answers the modal boxes that appear while `action` runs: message boxes with the button of
// their turn (remembering title and text), the "Saving..." bar with its cancel when asked.
struct ModalAnswers
{
    std::vector<QMessageBox::StandardButton> buttons;
    bool cancelSaving = false;
    QStringList seen; // "title|text" of each message box
    bool savingShown = false;

    void run(const std::function<void()>& action)
    {
        QTimer timer;
        timer.setInterval(0);
        QObject::connect(&timer, &QTimer::timeout, [this] { answer(); });
        timer.start();
        action();
    }

private:
    void answer()
    {
        for (QWidget* top : QApplication::topLevelWidgets()) {
            if (!top->isVisible())
                continue;
            if (auto* bar = qobject_cast<QProgressDialog*>(top)) {
                savingShown = true;
                // Its cancel button, as the user would press it.
                if (cancelSaving && !bar->wasCanceled())
                    if (auto* cancel = bar->findChild<QPushButton*>())
                        cancel->click();
            } else if (auto* box = qobject_cast<QMessageBox*>(top)) {
                seen << box->windowTitle() + "|" + box->text();
                const size_t turn = size_t(seen.size() - 1);
                const auto button = turn < buttons.size() ? buttons[turn] : QMessageBox::Ok;
                if (QAbstractButton* b = box->button(button))
                    b->click();
                else
                    box->reject();
            }
        }
    }
};

} // namespace

// The "Config/Classification" keys set the boxes as the dialog opens, and options() reads them:
// the allowed types negated, N never excluded, the user's rule only under its radio button,
// which alone enables the rule's fields.
TEST(PreprocessDialog, SettingsSetTheBoxesThatMakeTheOptions)
{
    const struct
    {
        const char* name;
        QVariantMap settings;
        bool excludeV, excludeF, excludeS, excludeU, user;
        int percent;
        bool compensatory;
    } cases[] = {
        { "defaults", {}, false, false, false, false, false, 20, false },
        { "types off",
            { { "AllowTypeV", false }, { "AllowTypeF", false }, { "AllowTypeU", false } }, true,
            true, false, true, false, 20, false },
        { "user rule",
            { { "SVPBUserDefined", true }, { "SVPBPrematurityPct", 35 },
                { "SVPBCompensatory", true }, { "AllowTypeS", false } },
            false, false, true, false, true, 35, true },
        { "automatic keeps the user fields out",
            { { "SVPBPrematurityPct", 35 }, { "SVPBCompensatory", true } }, false, false, false,
            false, false, 35, true },
    };
    Fixture f;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QSettings settings;
        settings.clear();
        for (auto it = c.settings.begin(); it != c.settings.end(); ++it)
            settings.setValue("Config/Classification/" + it.key(), it.value());
        f.open();
        EXPECT_TRUE(f.w<QCheckBox>("chkAllowTypeN")->isChecked());

        for (bool user : { c.user, !c.user }) {
            f.w<QRadioButton>(user ? "rbtSVPBUser" : "rbtSVPBAuto")->setChecked(true);
            EXPECT_EQ(f.w<QSpinBox>("numSPVBPrematurityPct")->isEnabled(), user);
            EXPECT_EQ(f.w<QCheckBox>("chkSPVBCompensatory")->isEnabled(), user);
            const ProcessingOptions o = f.dialog->options();
            EXPECT_EQ(o.excludeType[BeatV], c.excludeV);
            EXPECT_EQ(o.excludeType[BeatF], c.excludeF);
            EXPECT_EQ(o.excludeType[BeatS], c.excludeS);
            EXPECT_EQ(o.excludeType[BeatU], c.excludeU);
            EXPECT_FALSE(o.excludeType[BeatN]);
            EXPECT_EQ(o.svpbUserDefined, user);
            EXPECT_DOUBLE_EQ(o.svpbPrematurityRatio,
                user ? (100 - c.percent) * 0.01 : ProcessingOptions().svpbPrematurityRatio);
            EXPECT_EQ(o.svpbCompensatory, user && c.compensatory);
        }
    }
}

// Inverting a lead rebuilds the view at the same time position, with that lead's samples
// negated and the others as they were; a lead box renames the study's channel at once.
TEST(PreprocessDialog, InvertAndRenameRebuildTheViewInPlace)
{
    Fixture f;
    ASSERT_TRUE(f.study);
    PreprocessDialog& d = f.open();
    QSignalBrowseDisplay* view = d.view();
    EXPECT_EQ(f.w<QComboBox>("cboLead2")->itemText(0), "V2");
    EXPECT_EQ(f.w<QComboBox>("cboLead2")->itemText(1), "II");

    view->setStartTime(60.0);
    // Each lead at its largest deflection within a second of the view's start: an R or S wave.
    QVector<qint64> peaks;
    for (int c = 0; c < 3; ++c) {
        qint64 best = 60 * 500;
        for (qint64 i = best; i < 61 * 500; ++i)
            if (std::abs(view->signal()->sampleAt(c, i))
                > std::abs(view->signal()->sampleAt(c, best)))
                best = i;
        peaks << best;
    }
    auto samples = [&] {
        QVector<int> out;
        for (int c = 0; c < 3; ++c)
            out << view->signal()->sampleAt(c, peaks[c]);
        return out;
    };
    const QVector<int> before = samples();
    ASSERT_GT(std::abs(before[1]), 30); // above 0.4 mV

    f.w<QCheckBox>("chkInvert2")->setChecked(true);
    EXPECT_DOUBLE_EQ(view->startTime(), 60.0);
    const QVector<int> inverted = samples();
    EXPECT_EQ(inverted[0], before[0]);
    EXPECT_NEAR(inverted[1], -before[1], 1); // the filters round to whole steps
    EXPECT_EQ(inverted[2], before[2]);

    f.w<QComboBox>("cboLead3")->setCurrentText("aVF");
    EXPECT_EQ(f.study->signal()->channel(2)->name(), "aVF");
    EXPECT_EQ(view->signal()->channel(2)->name(), "aVF");
    EXPECT_DOUBLE_EQ(view->startTime(), 60.0);
    EXPECT_NEAR(samples()[1], -before[1], 1);
}

// "Save and continue" writes a new file only when something changed (an inversion, a name, a
// cut), asks before a cut, and neither asks nor writes for a trim longer than the recording.
// "Apply and process" accepts at once and writes nothing.
TEST(PreprocessDialog, SaveWritesOnlyWhatChangedAfterTheQuestion)
{
    enum Change { Nothing, Invert, Rename, Trim, TrimBeyondEnd };
    const auto S = Fixture::Simulated;
    const auto L = Fixture::LongSlow;
    const auto none = QMessageBox::NoButton; // no question expected
    const struct
    {
        const char* name;
        Fixture::Kind kind;
        Change change;
        const char* button;
        QMessageBox::StandardButton answer; // to the trim question
        bool accepted;
        bool newFile;
    } cases[] = {
        { "nothing changed", S, Nothing, "btnSave", none, true, false },
        { "an inverted lead", S, Invert, "btnSave", none, true, true },
        { "a name changed but not inverted", S, Rename, "btnSave", none, true, true },
        { "a trim beyond the end", S, TrimBeyondEnd, "btnSave", none, true, false },
        { "a trim, answered yes", L, Trim, "btnSave", QMessageBox::Yes, true, true },
        { "a trim, answered no", L, Trim, "btnSave", QMessageBox::No, false, false },
        { "apply with an inverted lead", S, Invert, "btnApply", none, true, false },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Fixture f(c.kind);
        ASSERT_TRUE(f.study);
        const QByteArray before = testsupport::readAll(f.ecgPath(f.base));
        const qint64 length = f.study->signal()->sampleCount();
        const int first = f.study->signal()->sampleAt(0, 5000);
        ASSERT_NE(first, 0);
        PreprocessDialog& d = f.open();
        if (c.change == Invert)
            f.w<QCheckBox>("chkInvert1")->setChecked(true);
        if (c.change == Rename)
            f.w<QComboBox>("cboLead1")->setCurrentText("aVR");
        if (c.change == Trim || c.change == TrimBeyondEnd)
            f.w<QComboBox>("cboTrim")->setCurrentIndex(1);
        EXPECT_EQ(f.w<QLabel>("lblTrimInfo")->isVisibleTo(&d), c.change == TrimBeyondEnd);

        QSignalSpy accepted(&d, &QDialog::accepted), rejected(&d, &QDialog::rejected);
        ModalAnswers answers;
        answers.buttons = { c.answer };
        answers.run([&] { f.w<QPushButton>(c.button)->click(); });

        const QStringList question { QString("Warning|All recording in excess of 24 hours will "
                                             "be erased. Proceed?") };
        EXPECT_EQ(answers.seen, c.answer == QMessageBox::NoButton ? QStringList() : question);
        EXPECT_EQ(accepted.count(), c.accepted ? 1 : 0);
        EXPECT_EQ(rejected.count(), 0);
        EXPECT_EQ(answers.savingShown, c.newFile);
        EXPECT_FALSE(QFile::exists(f.ecgPath(f.base + "-temp")));
        const QByteArray after = testsupport::readAll(f.ecgPath(f.base));
        EXPECT_EQ(after != before, c.newFile);

        // The study goes on over its file, whichever it is.
        SignalSource* s = f.study->signal();
        ASSERT_TRUE(s);
        EXPECT_EQ(s->sampleCount(),
            c.change == Trim && c.accepted ? qint64(slowstudy::kRate) * 24 * 3600 : length);
        if (c.change == Rename) {
            EXPECT_EQ(s->channel(0)->name(), "aVR");
        }
        EXPECT_EQ(s->sampleAt(0, 5000), c.change == Invert && c.newFile ? -first : first);
    }
}

// A cancel of the "Saving..." bar, or a full disk, ends in the "Error" box and a rejected
// dialog; the study's own file stays as it was and the new one is gone.
TEST(PreprocessDialog, CancelOrFullDiskDuringSaveShowsTheErrorAndRejects)
{
    for (bool diskFull : { false, true }) {
        SCOPED_TRACE(diskFull ? "disk full" : "cancelled");
        FailingIo io;
        Fixture f(Fixture::LongSlow, &io);
        ASSERT_TRUE(f.study);
        const QByteArray before = testsupport::readAll(f.ecgPath(f.base));
        PreprocessDialog& d = f.open();
        f.w<QCheckBox>("chkInvert3")->setChecked(true);
        if (diskFull)
            io.setBudget(io.written() + 50000);

        QSignalSpy accepted(&d, &QDialog::accepted), rejected(&d, &QDialog::rejected);
        ModalAnswers answers;
        answers.cancelSaving = !diskFull;
        answers.run([&] { f.w<QPushButton>("btnSave")->click(); });

        EXPECT_EQ(answers.seen, QStringList { QString("Error|") + kDiskMessage });
        EXPECT_EQ(accepted.count(), 0);
        EXPECT_EQ(rejected.count(), 1);
        EXPECT_FALSE(QFile::exists(f.ecgPath(f.base + "-temp")));
        EXPECT_EQ(testsupport::readAll(f.ecgPath(f.base)), before);
        EXPECT_EQ(f.study->signal()->sampleAt(2, 100), slowstudy::sampleOf(2, 100));
    }
}

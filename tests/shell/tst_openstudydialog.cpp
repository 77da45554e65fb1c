#include "shell/openstudydialog.h"
#include "shell/uploader.h"
#include "store/qzipfilecreator.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tests/support/testsupport.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QSharedMemory>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <QUrl>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using Button = QMessageBox::StandardButton;

// Answers every message box that comes up while it lives, in order, and keeps what they said.
// A box without a scripted answer gets its default button.
class MessageBoxes
{
public:
    explicit MessageBoxes(QList<Button> answers = {})
        : m_answers(answers)
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { answer(); });
        m_timer.start(5);
    }
    QStringList texts, titles;
    QList<Button> defaults;

private:
    void answer()
    {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || box->property("answered").toBool())
            return;
        box->setProperty("answered", true);
        texts << box->text();
        titles << box->windowTitle();
        defaults << box->standardButton(box->defaultButton());
        QAbstractButton* button
            = m_answers.isEmpty() ? box->defaultButton() : box->button(m_answers.takeFirst());
        if (button)
            button->click();
        else
            box->reject();
    }
    QList<Button> m_answers;
    QTimer m_timer;
};

// A dialog with its two lists under the model checker, which must go before the lists do.
class CheckedDialog
{
public:
    explicit CheckedDialog(std::unique_ptr<OpenStudyDialog> dialog)
        : m_dialog(std::move(dialog))
    {
        for (const char* name : { "treeStudies", "treeSharedStudies" })
            m_testers.push_back(std::make_unique<QAbstractItemModelTester>(
                m_dialog->findChild<QTreeWidget*>(name)->model(),
                QAbstractItemModelTester::FailureReportingMode::Fatal));
    }
    CheckedDialog(CheckedDialog&&) = default;
    CheckedDialog& operator=(CheckedDialog&& other)
    {
        m_testers.clear();
        m_dialog = std::move(other.m_dialog);
        m_testers = std::move(other.m_testers);
        return *this;
    }
    ~CheckedDialog() { m_testers.clear(); }
    OpenStudyDialog& operator*() const { return *m_dialog; }
    OpenStudyDialog* operator->() const { return m_dialog.get(); }
    OpenStudyDialog* get() const { return m_dialog.get(); }

private:
    std::unique_ptr<OpenStudyDialog> m_dialog;
    std::vector<std::unique_ptr<QAbstractItemModelTester>> m_testers;
};

class OpenStudyDialogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QSettings().clear();
        m_repo = makeRepo(m_temp.file("store"));
        QDir().mkpath(shared());
        m_desktop.openUrl = [this](const QUrl& url) {
            opened << url;
            return true;
        };
        m_desktop.chooseFolder
            = [this](QWidget*, const QString&, const QString&) { return m_nextFolder; };
        m_desktop.startDetached = [this](const QString& program, const QStringList& args) {
            started << program + ' ' + args.join(' ');
            return true;
        };
    }

    static std::unique_ptr<StudyRepository> makeRepo(const QString& root)
    {
        StudyRepository::Options o;
        o.rootOverride = root;
        return std::make_unique<StudyRepository>("VeltronaHolter", o);
    }

    // A one-second, three-channel study; returns its id.
    static int addStudy(StudyRepository& repo, const char* last, const char* first,
        const char* date, const char* status = "processed")
    {
        StudyInfo info;
        info.patientLastName = last;
        info.patientFirstName = first;
        info.studyDateTime = info.recordingDateTime = date;
        info.samplingRate = 500;
        info.channelCount = 3;
        info.channelNames = "II,V2,V5";
        info.resolution = 16;
        info.gain = 450;
        Study* s = repo.createStudy(info);
        std::vector<qint16> samples(500, 100);
        const qint16* channels[3] = { samples.data(), samples.data(), samples.data() };
        s->signal()->appendChannels(channels, 500);
        s->setProperty("status", status);
        repo.saveStudy(s);
        repo.closeStudy(s);
        return info.id;
    }
    int addStudy(
        const char* last, const char* first, const char* date, const char* status = "processed")
    {
        return addStudy(*m_repo, last, first, date, status);
    }

    // The dialog shown and active, with its two lists under the model checker.
    CheckedDialog open()
    {
        CheckedDialog d(std::make_unique<OpenStudyDialog>(*m_repo, m_desktop));
        d->move(200, 100);
        d->resize(400, 300);
        d->show();
        QApplication::setActiveWindow(d.get());
        EXPECT_TRUE(QTest::qWaitForWindowActive(d.get()));
        return d;
    }
    // Opens the shared pane on `folder`.
    void showShared(OpenStudyDialog& d, const QString& folder)
    {
        m_nextFolder = folder;
        button(d, "btnShare")->click();
        button(d, "btnShareFolder")->click();
    }

    static QTreeWidget* tree(const QDialog& d, const char* name)
    {
        return d.findChild<QTreeWidget*>(name);
    }
    static QPushButton* button(const QDialog& d, const char* name)
    {
        if (QString(name) == "OK")
            return d.findChild<QDialogButtonBox*>("buttonBox")->button(QDialogButtonBox::Ok);
        return d.findChild<QPushButton*>(name);
    }
    // The patient column of the visible rows, top to bottom.
    static QStringList visibleRows(const QDialog& d, const char* name)
    {
        QStringList rows;
        const QTreeWidget* t = tree(d, name);
        for (int i = 0; i < t->topLevelItemCount(); ++i)
            if (!t->topLevelItem(i)->isHidden())
                rows << t->topLevelItem(i)->text(1);
        return rows;
    }
    // Clicks rows by patient text, the first plainly and the others with Ctrl.
    static void clickRows(const QDialog& d, const char* name, const QStringList& patients)
    {
        QTreeWidget* t = tree(d, name);
        Qt::KeyboardModifiers modifiers = Qt::NoModifier;
        for (const QString& patient : patients) {
            const QList<QTreeWidgetItem*> found = t->findItems(patient, Qt::MatchExactly, 1);
            ASSERT_EQ(found.size(), 1) << patient.toStdString();
            QTest::mouseClick(t->viewport(), Qt::LeftButton, modifiers,
                t->visualItemRect(found.first()).center());
            modifiers = Qt::ControlModifier;
        }
    }
    QString shared() const { return m_temp.file("shared"); }
    QStringList sharedFiles() const { return QDir(shared()).entryList(QDir::Files); }

    testsupport::TempRoot m_temp;
    std::unique_ptr<StudyRepository> m_repo;
    OpenStudyDialog::Desktop m_desktop;
    QString m_nextFolder;
    QList<QUrl> opened;
    QStringList started;
};

TEST_F(OpenStudyDialogTest, ListsStudiesNewestFirstAndOpensTheChosenOne)
{
    {
        auto empty = open();
        EXPECT_EQ(tree(*empty, "treeStudies")->topLevelItemCount(), 0);
        EXPECT_FALSE(button(*empty, "OK")->isEnabled());
    }
    const int older = addStudy("Núñez", "José", "20260110083015", "report");
    const int newest = addStudy("Abad", "Ana", "20261122170000");
    addStudy("Zapata", "Luis", "20260505120000", "downloaded");
    auto d = open();
    const QTreeWidget* t = tree(*d, "treeStudies");
    EXPECT_EQ(d->windowTitle(), "Select study");
    EXPECT_EQ(visibleRows(*d, "treeStudies"),
        QStringList({ "Abad, Ana", "Zapata, Luis", "Núñez, José" }));
    const QTreeWidgetItem* row = t->topLevelItem(2);
    EXPECT_EQ(row->data(0, Qt::UserRole).toInt(), older);
    EXPECT_EQ(row->text(2), "Holter");
    EXPECT_EQ(row->text(3),
        QLocale().toString(QDateTime(QDate(2026, 1, 10), QTime(8, 30, 15)), QLocale::ShortFormat));
    EXPECT_EQ(row->text(4), "Yes");
    EXPECT_EQ(t->topLevelItem(0)->text(4), "");
    // The newest is current, so Enter opens it; a double click opens the row clicked.
    EXPECT_TRUE(button(*d, "OK")->isEnabled());
    QTest::keyClick(tree(*d, "treeStudies"), Qt::Key_Return);
    EXPECT_EQ(d->result(), QDialog::Accepted);
    EXPECT_EQ(d->selectedStudyId(), newest);

    d = open();
    const QRect rect
        = tree(*d, "treeStudies")->visualItemRect(tree(*d, "treeStudies")->topLevelItem(2));
    QTest::mouseClick(tree(*d, "treeStudies")->viewport(), Qt::LeftButton, {}, rect.center());
    QTest::mouseDClick(tree(*d, "treeStudies")->viewport(), Qt::LeftButton, {}, rect.center());
    EXPECT_EQ(d->result(), QDialog::Accepted);
    EXPECT_EQ(d->selectedStudyId(), older);
}

TEST_F(OpenStudyDialogTest, FilterKeepsRowsHoldingEveryWordInBothLists)
{
    auto other = makeRepo(m_temp.file("other"));
    for (auto* repo : { m_repo.get(), other.get() }) {
        addStudy(*repo, "García", "Ana María", "20260101000000");
        addStudy(*repo, "Garcés", "Pedro", "20260102000000");
        addStudy(*repo, "Ortega", "Ana", "20260103000000");
    }
    for (const StudyInfo& info : other->listStudies())
        other->exportStudy(info.id, shared(), nullptr);
    auto d = open();
    showShared(*d, shared());
    const struct
    {
        const char* filter;
        QStringList rows;
    } cases[] = {
        { "", { "Ortega, Ana", "Garcés, Pedro", "García, Ana María" } },
        { "ana", { "Ortega, Ana", "García, Ana María" } },
        { "  GARC  ", { "Garcés, Pedro", "García, Ana María" } },
        { "maría garcía", { "García, Ana María" } },
        { "ana pedro", {} },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.filter);
        d->findChild<QLineEdit*>("txtFilter")->setText(QString::fromUtf8(c.filter));
        EXPECT_EQ(visibleRows(*d, "treeStudies"), c.rows);
        EXPECT_EQ(visibleRows(*d, "treeSharedStudies"), c.rows);
        // The first row left is current; with none, nothing can be opened.
        const QTreeWidgetItem* current = tree(*d, "treeStudies")->currentItem();
        EXPECT_EQ(current ? current->text(1) : QString(), c.rows.value(0));
        EXPECT_EQ(button(*d, "OK")->isEnabled(), !c.rows.isEmpty());
    }
}

TEST_F(OpenStudyDialogTest, ButtonsFollowTheCurrentRowTheFocusedListAndThePane)
{
    addStudy("Reported", "A", "20260101000000", "report");
    const int plain = addStudy("Plain", "B", "20260102000000");
    m_repo->exportStudy(plain, shared(), nullptr);
    auto d = open();
    auto states = [&] {
        QString s;
        for (const char* name :
            { "OK", "btnReport", "btnDelete", "btnShareExport", "btnShareImport", "btnSend" })
            s += button(*d, name)->isEnabled() ? '1' : '0';
        return s;
    };
    // OK, report, delete, export, import, send.
    EXPECT_EQ(states(), "101001"); // the newest (not reported) is current
    clickRows(*d, "treeStudies", { "Reported, A" });
    EXPECT_EQ(states(), "111001");
    showShared(*d, shared());
    EXPECT_EQ(states(), "111101");
    clickRows(*d, "treeSharedStudies", { "Plain, B" });
    EXPECT_EQ(states(), "111111");
    // Delete follows the list with focus: an empty shared selection disables it there.
    tree(*d, "treeSharedStudies")->clearSelection();
    EXPECT_EQ(states(), "110101");
    tree(*d, "treeStudies")->setFocus();
    EXPECT_EQ(states(), "111101");
    tree(*d, "treeStudies")->clearSelection();
    EXPECT_EQ(states(), "110000"); // the current row still opens
    button(*d, "btnShare")->click();
    clickRows(*d, "treeStudies", { "Plain, B" });
    EXPECT_EQ(states(), "101001");
}

TEST_F(OpenStudyDialogTest, ShowReportOpensThePdfOrSaysItIsMissing)
{
    const int id = addStudy("Núñez", "José", "20260101000000", "report");
    StudyInfo row;
    ASSERT_TRUE(m_repo->studyExists(id, row));
    const QString pdf = m_repo->rootPath() + "/reports/" + row.baseFilename + ".pdf";
    for (const bool present : { false, true }) {
        SCOPED_TRACE(present);
        if (present) {
            QDir().mkpath(m_repo->rootPath() + "/reports");
            testsupport::writeAll(pdf, "%PDF-1.4");
        }
        auto d = open();
        MessageBoxes boxes;
        button(*d, "btnReport")->click();
        EXPECT_EQ(boxes.texts, present ? QStringList() : QStringList({ "Report file not found" }));
        EXPECT_EQ(opened, present ? QList<QUrl>({ QUrl::fromLocalFile(pdf) }) : QList<QUrl>());
    }
}

TEST_F(OpenStudyDialogTest, DeletesSelectedStudiesButNotOneOpenForReview)
{
    const int a = addStudy("Alpha", "A", "20260104000000");
    const int b = addStudy("Beta", "B", "20260103000000");
    const int c = addStudy("Gamma", "C", "20260102000000");
    addStudy("Delta", "D", "20260101000000");
    Study* reviewed = m_repo->openStudy(b);
    ASSERT_NE(reviewed, nullptr);
    for (const Button answer : { QMessageBox::No, QMessageBox::Yes }) {
        SCOPED_TRACE(answer);
        auto d = open();
        QSignalSpy deleted(d.get(), &OpenStudyDialog::deletedStudy);
        clickRows(*d, "treeStudies", { "Alpha, A", "Beta, B", "Gamma, C" });
        MessageBoxes boxes({ answer });
        // In the name box the key edits the text and deletes nothing.
        QTest::keyClick(d->findChild<QLineEdit*>("txtFilter"), Qt::Key_Delete);
        EXPECT_TRUE(boxes.texts.isEmpty());
        QTest::keyClick(tree(*d, "treeStudies"), Qt::Key_Delete);
        ASSERT_GE(boxes.texts.size(), 1);
        EXPECT_EQ(boxes.titles[0], "Confirm");
        EXPECT_EQ(boxes.texts[0], "Delete selected studies from local folder?");
        EXPECT_EQ(boxes.defaults[0], QMessageBox::No);
        const bool yes = answer == QMessageBox::Yes;
        EXPECT_EQ(visibleRows(*d, "treeStudies"),
            yes ? QStringList({ "Beta, B", "Delta, D" })
                : QStringList({ "Alpha, A", "Beta, B", "Gamma, C", "Delta, D" }));
        ASSERT_EQ(deleted.count(), yes ? 2 : 0);
        if (yes) {
            EXPECT_EQ(deleted.at(0).at(0).toInt(), a);
            EXPECT_EQ(deleted.at(1).at(0).toInt(), c);
            // The open study is said to stay, and it keeps its files.
            ASSERT_EQ(boxes.texts.size(), 2);
            EXPECT_TRUE(boxes.texts[1].contains("Beta, B"));
            StudyInfo row;
            EXPECT_TRUE(m_repo->studyExists(b, row));
            EXPECT_TRUE(QFileInfo::exists(m_repo->rootPath() + "/" + row.baseFilename + ".vtecg"));
        }
    }
    m_repo->closeStudy(reviewed);
}

// Export and import go through the selection in order and stop at the first failure; what was
// done before it stays done.
TEST_F(OpenStudyDialogTest, ExportAndImportStopAtTheFirstFailureAndKeepEarlierOnes)
{
    const int first = addStudy("Alpha", "A", "20260103000000");
    const int broken = addStudy("Beta", "B", "20260102000000");
    addStudy("Gamma", "C", "20260101000000");
    StudyInfo row;
    ASSERT_TRUE(m_repo->studyExists(broken, row));
    ASSERT_TRUE(QFile::remove(m_repo->rootPath() + "/" + row.baseFilename + ".vtecg"));
    auto d = open();
    showShared(*d, shared());
    clickRows(*d, "treeStudies", { "Alpha, A", "Beta, B", "Gamma, C" });
    {
        MessageBoxes boxes;
        button(*d, "btnShareExport")->click();
        ASSERT_EQ(boxes.texts.size(), 1);
        EXPECT_EQ(boxes.titles[0], "Error");
        EXPECT_TRUE(boxes.texts[0].startsWith("Error while exporting: "));
        EXPECT_TRUE(boxes.texts[0].endsWith("\n\nPlease check available disk space."));
    }
    ASSERT_TRUE(m_repo->studyExists(first, row));
    EXPECT_EQ(sharedFiles(), QStringList({ row.baseFilename + ".vtz" }));
    EXPECT_EQ(visibleRows(*d, "treeSharedStudies"), QStringList({ "Alpha, A" }));

    // Three archives from another station; the middle one vanishes once it is listed.
    auto other = makeRepo(m_temp.file("other"));
    QStringList archives;
    for (const auto& [name, date] : { std::pair("Uno", "20250103000000"),
             std::pair("Dos", "20250102000000"), std::pair("Tres", "20250101000000") })
        archives << other->exportStudy(addStudy(*other, name, "I", date), shared(), nullptr);
    d = open();
    showShared(*d, shared());
    clickRows(*d, "treeSharedStudies", { "Uno, I", "Dos, I", "Tres, I" });
    ASSERT_TRUE(QFile::remove(archives[1]));
    MessageBoxes boxes;
    button(*d, "btnShareImport")->click();
    ASSERT_EQ(boxes.texts.size(), 1);
    EXPECT_EQ(boxes.texts[0],
        "Error while importing: File is not a valid Veltrona study zip archive\n\n"
        "Please check available disk space.");
    // The one before the failure is in the store and selected; the one after is not.
    EXPECT_EQ(visibleRows(*d, "treeStudies"),
        QStringList({ "Alpha, A", "Beta, B", "Gamma, C", "Uno, I" }));
    const QList<QTreeWidgetItem*> selected = tree(*d, "treeStudies")->selectedItems();
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected[0]->text(1), "Uno, I");
}

TEST_F(OpenStudyDialogTest, SharedFolderListsOnlyOurArchivesDeletesThemAndSaysWhenItIsGone)
{
    m_repo->exportStudy(addStudy("Ours", "A", "20260101000000"), shared(), nullptr);
    testsupport::writeAll(shared() + "/notes.vtz", "not a zip at all");
    {
        QZipFileCreator zip(shared() + "/foreign.vtz");
        zip.addData("{}", "info");
        zip.setComment("SOMEONE ELSE");
        zip.close();
    }
    m_repo->exportStudy(addStudy("Also", "B", "20250101000000"), shared(), nullptr);
    auto d = open();
    showShared(*d, shared());
    EXPECT_EQ(visibleRows(*d, "treeSharedStudies"), QStringList({ "Ours, A", "Also, B" }));
    EXPECT_FALSE(d->findChild<QLabel*>("lblShareStatus")->isVisible());

    // Delete follows the focus into the shared list and removes only the archive there.
    clickRows(*d, "treeSharedStudies", { "Also, B" });
    {
        MessageBoxes boxes({ QMessageBox::Yes });
        button(*d, "btnDelete")->click();
        EXPECT_EQ(boxes.texts, QStringList({ "Delete selected studies from shared folder?" }));
    }
    EXPECT_EQ(visibleRows(*d, "treeSharedStudies"), QStringList({ "Ours, A" }));
    EXPECT_EQ(sharedFiles().size(), 3); // ours and the two that aren't
    EXPECT_EQ(m_repo->listStudies().size(), 2);

    // The folder goes away: the list says so, and an export is refused before it starts.
    const QString gone = m_temp.file("gone");
    QDir().mkpath(gone);
    m_nextFolder = gone;
    button(*d, "btnShareFolder")->click();
    ASSERT_TRUE(QDir(gone).removeRecursively());
    clickRows(*d, "treeStudies", { "Ours, A" });
    MessageBoxes boxes;
    button(*d, "btnShareExport")->click();
    ASSERT_EQ(boxes.texts.size(), 1);
    EXPECT_TRUE(boxes.texts[0].contains("cannot be reached")) << boxes.texts[0].toStdString();
    EXPECT_FALSE(QFileInfo::exists(gone));
    const QLabel* status = d->findChild<QLabel*>("lblShareStatus");
    EXPECT_TRUE(status->isVisible());
    EXPECT_TRUE(status->text().contains("cannot be reached"));
}

TEST_F(OpenStudyDialogTest, FolderHistoryIsKeptAndThePaneWidensAroundTheCentre)
{
    QSettings().setValue(OpenStudyDialog::FolderListSetting, QStringList({ "/a", "/b" }));
    QSettings().setValue(OpenStudyDialog::DefaultFolderSetting, "/b");
    auto d = open();
    EXPECT_EQ(d->sharedFolder(), "/b");
    const QRect before = d->geometry();
    button(*d, "btnShare")->click();
    EXPECT_EQ(button(*d, "btnShare")->text(), "Hide shared studies");
    EXPECT_EQ(d->geometry(),
        QRect(
            before.x() - before.width() / 4, before.y(), before.width() * 3 / 2, before.height()));
    m_nextFolder = shared();
    button(*d, "btnShareFolder")->click();
    EXPECT_EQ(d->sharedFolder(), shared());
    button(*d, "btnShare")->click();
    EXPECT_EQ(button(*d, "btnShare")->text(), "Show shared studies");
    EXPECT_EQ(d->geometry(), before);
    // Written when the dialog closes, whichever way.
    EXPECT_TRUE(QSettings().value(OpenStudyDialog::DefaultFolderSetting) == "/b");
    d->reject();
    EXPECT_EQ(QSettings().value(OpenStudyDialog::FolderListSetting).toStringList(),
        QStringList({ shared(), "/a", "/b" }));
    EXPECT_EQ(QSettings().value(OpenStudyDialog::DefaultFolderSetting).toString(), shared());
    EXPECT_EQ(open()->sharedFolder(), shared());
}

// Without an uploader, or while it runs, nothing is exported; otherwise the studies go to
// "<root>/upload" and the program is started on that folder.
TEST_F(OpenStudyDialogTest, SendExportsToTheUploadFolderOnlyWhenAnUploaderCanTakeThem)
{
    addStudy("Alpha", "A", "20260101000000");
    const QString upload = m_repo->rootPath() + "/upload";
    const struct
    {
        QString program;
        bool running;
        QString says;
    } cases[] = {
        { "", false, "No uploader program is configured" },
        { "/opt/uploader/send", true, "Veltrona Uploader is running, please close it first." },
        { "/opt/uploader/send", false, "" },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.says.toStdString());
        QSettings().setValue(Uploader::CommandSetting, c.program);
        QSharedMemory uploader(Uploader::SharedMemoryKey);
        if (c.running) {
            ASSERT_TRUE(uploader.create(256));
        }
        auto d = open();
        MessageBoxes boxes({ QMessageBox::Yes });
        button(*d, "btnSend")->click();
        ASSERT_FALSE(boxes.texts.isEmpty());
        EXPECT_TRUE(boxes.texts.last().startsWith(c.says)) << boxes.texts.last().toStdString();
        const bool sent = c.says.isEmpty();
        // The question comes only when there is a program to run.
        EXPECT_EQ(boxes.texts[0] == "Send selected studies to Veltrona?", !c.program.isEmpty());
        EXPECT_EQ(QDir(upload).entryList(QDir::Files).size(), sent ? 1 : 0);
        EXPECT_EQ(started, sent ? QStringList({ c.program + ' ' + upload }) : QStringList());
    }
}

} // namespace

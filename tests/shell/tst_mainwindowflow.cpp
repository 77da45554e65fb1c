// The launcher's road from a card to a processed study: after download, processing with its
// frame, cancel and close, and the checks of opening a study.

#include "shell/mainwindow.h"
#include "store/beatlist.h"
#include "store/ecgfile.h"
#include "store/result.h"
#include "store/studystatus.h"
#include "tests/shell/launchertestutil.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace {

using launchertest::BoxAnswerer;
using launchertest::FakeDialogs;

class LauncherFlowTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_cards = new QTemporaryDir;
        launchertest::simulateCard(s_cards->filePath("short"), 3.0);
        launchertest::simulateCard(s_cards->filePath("long"), 60.0);
    }
    static void TearDownTestSuite()
    {
        delete s_cards;
        s_cards = nullptr;
    }

    void SetUp() override
    {
        QSettings().clear();
        m_options.rootOverride = m_temp.file("store");
    }
    void TearDown() override { QSettings().clear(); }

    // A started window whose dialogs download `card` and accept (or refuse) preprocessing.
    std::unique_ptr<MainWindow> startWindow(const QString& card = "short", bool accept = true)
    {
        auto window = std::make_unique<MainWindow>(m_options);
        window->setDialogs(std::make_unique<FakeDialogs>(m_log, s_cards->filePath(card), accept));
        window->show();
        EXPECT_TRUE(QTest::qWaitFor([&] { return window->isStarted(); }, 5000));
        EXPECT_NE(window->repository(), nullptr);
        return window;
    }

    // Waits for the run in progress to end; its outcome.
    static ProcessingOutcome waitForRun(QSignalSpy& finished)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return finished.count() > 0; }, 60000));
        return finished.isEmpty() ? ProcessingOutcome::Failed
                                  : finished.last().at(1).value<ProcessingOutcome>();
    }

    struct Stored
    {
        QByteArray status;
        int beats = -1;
        bool hasResults = false;
    };
    static Stored stored(MainWindow& window, int id)
    {
        StudyRepository& repo = *window.repository();
        EXPECT_FALSE(repo.isStudyOpen(id)) << "study " << id << " left open";
        Study* s = repo.openStudy(id);
        if (!s)
            return {};
        const Stored out { s->property("status"), s->beats() ? s->beats()->count() : -1,
            !s->results().isEmpty() };
        repo.closeStudy(s);
        return out;
    }

    static int onlyStudyId(MainWindow& window)
    {
        const QList<StudyInfo> studies = window.repository()->listStudies();
        EXPECT_EQ(studies.size(), 1);
        return studies.value(0).id;
    }

    static void expectIdle(MainWindow& window)
    {
        EXPECT_EQ(window.processingStudyId(), 0);
        EXPECT_EQ(window.processing(), nullptr);
        EXPECT_FALSE(window.findChild<QWidget*>("frameProcessing")->isVisible());
        EXPECT_TRUE(window.findChild<QPushButton*>("btnDownloadStudy")->isEnabled());
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }

    static QTemporaryDir* s_cards;
    testsupport::TempRoot m_temp;
    StudyRepository::Options m_options;
    std::shared_ptr<FakeDialogs::Log> m_log = std::make_shared<FakeDialogs::Log>();
};

QTemporaryDir* LauncherFlowTest::s_cards = nullptr;

TEST_F(LauncherFlowTest, DownloadedCardIsProcessedInTheBackgroundWithTheFrameFollowingIt)
{
    auto window = startWindow();
    QSignalSpy finished(window.get(), &MainWindow::processingFinished);
    auto* bar = window->findChild<QProgressBar*>("barProcessProgress");
    auto* label = window->findChild<QLabel*>("lblProcessStatus");
    QSignalSpy barMoves(bar, &QProgressBar::valueChanged);
    QStringList statuses;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (statuses.value(statuses.size() - 1) != label->text() && label->isVisible())
            statuses << label->text();
    });
    watch.start(1);

    QTest::mouseClick(window->findChild<QPushButton*>("btnDownloadStudy"), Qt::LeftButton);
    ASSERT_EQ(m_log->downloads, 1);
    ASSERT_EQ(m_log->preprocessed.size(), 1);
    const int id = m_log->preprocessed[0].first;
    EXPECT_TRUE(m_log->preprocessed[0].second) << "asked as after download";
    // While it runs: the frame shows, download waits, the study can't be opened.
    EXPECT_EQ(window->processingStudyId(), id);
    EXPECT_TRUE(window->findChild<QWidget*>("frameProcessing")->isVisible());
    EXPECT_FALSE(window->findChild<QPushButton*>("btnDownloadStudy")->isEnabled());
    {
        BoxAnswerer boxes;
        window->openStudy(id);
        ASSERT_EQ(boxes.texts.size(), 1);
        EXPECT_EQ(boxes.texts[0], "Study is being processed, please wait until ready");
    }

    EXPECT_EQ(waitForRun(finished), ProcessingOutcome::Done);
    EXPECT_EQ(finished.last().at(0).toInt(), id);
    expectIdle(*window);
    const Stored s = stored(*window, id);
    EXPECT_EQ(s.status, QByteArray(StudyStatus::Processed));
    EXPECT_GT(s.beats, 150) << "three minutes of beats";
    EXPECT_GT(barMoves.count(), 2);
    EXPECT_TRUE(statuses.filter("Processing").size() >= 2) << statuses.join('|').toStdString();
}

TEST_F(LauncherFlowTest, AutoExportSendsTheStudyAwayUnprocessedOnlyWhenAFolderIsSet)
{
    for (const bool withFolder : { true, false }) {
        SCOPED_TRACE(withFolder);
        const QString folder = withFolder ? m_temp.file("shared") : QString();
        QDir().mkpath(m_temp.file("shared"));
        QSettings().setValue("Config/AutoExportStudies", true);
        QSettings().setValue("Config/ExportStudyFolder", folder);
        auto window = startWindow();
        QSignalSpy finished(window.get(), &MainWindow::processingFinished);
        BoxAnswerer boxes;
        QTest::mouseClick(window->findChild<QPushButton*>("btnDownloadStudy"), Qt::LeftButton);
        if (withFolder) {
            EXPECT_TRUE(m_log->preprocessed.isEmpty());
            EXPECT_EQ(QDir(folder).entryList({ "*.vtz" }).size(), 1);
            ASSERT_EQ(boxes.titles.size(), 1);
            EXPECT_EQ(boxes.titles[0], "Information");
            EXPECT_TRUE(boxes.texts[0].contains(QDir::toNativeSeparators(folder)));
            EXPECT_EQ(
                stored(*window, onlyStudyId(*window)).status, QByteArray(StudyStatus::Downloaded));
        } else {
            ASSERT_EQ(m_log->preprocessed.size(), 1);
            EXPECT_EQ(waitForRun(finished), ProcessingOutcome::Done);
        }
        expectIdle(*window);
        window.reset();
        m_log = std::make_shared<FakeDialogs::Log>();
        m_options.rootOverride = m_temp.file("store2");
    }
}

TEST_F(LauncherFlowTest, ExportToAFolderThatCannotBeWrittenWarnsAndKeepsTheStudy)
{
    testsupport::writeAll(m_temp.file("blocker"), "a file, not a folder");
    QSettings().setValue("Config/AutoExportStudies", true);
    QSettings().setValue("Config/ExportStudyFolder", m_temp.file("blocker/shared"));
    auto window = startWindow();
    BoxAnswerer boxes;
    QTest::mouseClick(window->findChild<QPushButton*>("btnDownloadStudy"), Qt::LeftButton);
    ASSERT_EQ(boxes.titles.size(), 1);
    EXPECT_EQ(boxes.titles[0], "Warning");
    EXPECT_TRUE(boxes.texts[0].startsWith("Study file could not be exported to folder"));
    EXPECT_EQ(stored(*window, onlyStudyId(*window)).status, QByteArray(StudyStatus::Downloaded));
    expectIdle(*window);
}

// Cancel from the frame and closing the window mid-run both stop the run and leave the study
// as it was before: downloaded, with no beats, offered for processing again.
TEST_F(LauncherFlowTest, CancelAndCloseDuringProcessingLeaveTheStudyToBeProcessedAgain)
{
    for (const bool viaClose : { false, true }) {
        SCOPED_TRACE(viaClose ? "close" : "cancel");
        auto window = startWindow("long");
        QSignalSpy finished(window.get(), &MainWindow::processingFinished);
        window->findChild<QPushButton*>("btnDownloadStudy")->click();
        ASSERT_EQ(m_log->preprocessed.size(), 1);
        const int id = m_log->preprocessed[0].first;
        ASSERT_NE(window->processing(), nullptr);
        QSignalSpy progress(window->processing(), &StudyProcessing::progress);
        ASSERT_TRUE(QTest::qWaitFor([&] { return progress.count() > 0; }, 20000));
        if (viaClose) {
            window->close(); // returns only when the run has stopped
            EXPECT_FALSE(window->isVisible());
            ASSERT_EQ(finished.count(), 1);
        } else {
            auto* cancel = window->findChild<QPushButton*>("btnProcessCancel");
            QTest::mouseClick(cancel, Qt::LeftButton);
            EXPECT_FALSE(cancel->isEnabled());
            EXPECT_NE(QApplication::overrideCursor(), nullptr);
        }
        EXPECT_EQ(waitForRun(finished), ProcessingOutcome::Cancelled);
        expectIdle(*window);
        const Stored s = stored(*window, id);
        EXPECT_EQ(s.status, QByteArray(StudyStatus::Downloaded));
        EXPECT_EQ(s.beats, 0);
        window.reset();
        m_log = std::make_shared<FakeDialogs::Log>();
        m_options.rootOverride = m_temp.file(viaClose ? "s2" : "s1");
    }
}

// The card's samples cut short under the run (a failing disk): the reader's failure is shown,
// and the study is left to be processed again.
class CuttingDialogs : public FakeDialogs
{
public:
    using FakeDialogs::FakeDialogs;
    std::optional<ProcessingOptions> preprocess(
        QWidget* parent, StudyRepository& repository, Study* study, bool afterDownload) override
    {
        const QString path = repository.studyPath(study->property("baseFilename"), "vtecg");
        QFile(path).resize(EcgFile::kHeaderSize + 3 * 2 * 250 * 60); // a minute of samples is left
        return FakeDialogs::preprocess(parent, repository, study, afterDownload);
    }
};

TEST_F(LauncherFlowTest, AReaderFailureDuringProcessingIsShownAndTheStudyStaysToBeProcessed)
{
    auto window = startWindow("long");
    window->setDialogs(std::make_unique<CuttingDialogs>(m_log, s_cards->filePath("long")));
    QSignalSpy finished(window.get(), &MainWindow::processingFinished);
    BoxAnswerer boxes;
    window->findChild<QPushButton*>("btnDownloadStudy")->click();
    EXPECT_EQ(waitForRun(finished), ProcessingOutcome::Failed);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !boxes.texts.isEmpty(); }, 2000));
    EXPECT_TRUE(boxes.texts[0].startsWith("Processing of the study stopped:"))
        << boxes.texts[0].toStdString();
    expectIdle(*window);
    const Stored s = stored(*window, onlyStudyId(*window));
    EXPECT_EQ(s.status, QByteArray(StudyStatus::Downloaded));
    EXPECT_EQ(s.beats, 0);
}

TEST_F(LauncherFlowTest, BackingOutOfPreprocessingStartsNothing)
{
    auto window = startWindow("short", false);
    window->findChild<QPushButton*>("btnDownloadStudy")->click();
    ASSERT_EQ(m_log->preprocessed.size(), 1);
    expectIdle(*window);
    const Stored s = stored(*window, m_log->preprocessed[0].first);
    EXPECT_EQ(s.status, QByteArray(StudyStatus::Downloaded));
}

// Opening goes where the study's state says; every refusal is a message.
TEST_F(LauncherFlowTest, OpenStudyFollowsTheStateOfTheStudy)
{
    auto window = startWindow("short", false);
    StudyRepository& repo = *window->repository();
    const int downloaded = launchertest::importSimulatedCard(repo, s_cards->filePath("short"));

    struct Case
    {
        const char* name;
        std::function<int()> prepare;
        QMessageBox::StandardButton answer;
        QStringList texts; // of the message boxes, in order
        bool preprocessed;
    };
    Study* held = nullptr;
    const QString review = "The study is ready for review";
    const QString question = "This study needs to be reprocessed. Continue?";
    const QList<Case> cases {
        { "unknown id", [] { return 99; }, QMessageBox::Ok, { "Study file not found" }, false },
        { "open elsewhere",
            [&] {
                held = repo.openStudy(downloaded);
                return downloaded;
            },
            QMessageBox::Ok, { "Study is already open for review" }, false },
        { "downloaded",
            [&] {
                repo.closeStudy(held);
                return downloaded;
            },
            QMessageBox::Ok, {}, true },
        { "processed without beats, No",
            [&] {
                Study* s = repo.openStudy(downloaded);
                s->setProperty("status", StudyStatus::Processed);
                repo.saveStudy(s);
                repo.closeStudy(s);
                return downloaded;
            },
            QMessageBox::No, { question, review }, false },
        { "processed without beats, Yes", [&] { return downloaded; }, QMessageBox::Yes,
            { question }, true },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        m_log->preprocessed.clear();
        const int id = c.prepare();
        BoxAnswerer boxes(c.answer);
        window->openStudy(id);
        ASSERT_EQ(boxes.texts.size(), c.texts.size()) << boxes.texts.join('|').toStdString();
        for (int i = 0; i < c.texts.size(); ++i)
            EXPECT_TRUE(boxes.texts[i].startsWith(c.texts[i])) << boxes.texts[i].toStdString();
        EXPECT_EQ(m_log->preprocessed.size(), c.preprocessed ? 1 : 0);
        if (c.preprocessed) {
            EXPECT_FALSE(m_log->preprocessed[0].second) << "not after download";
        }
        EXPECT_EQ(repo.isStudyOpen(downloaded), c.name == QString("open elsewhere"));
    }
}

// Open study: the browser's choice goes through the same checks; backing out opens nothing.
TEST_F(LauncherFlowTest, OpenAndConfigurationButtonsRunTheirDialogs)
{
    auto window = startWindow("short", false);
    const int id
        = launchertest::importSimulatedCard(*window->repository(), s_cards->filePath("short"));
    auto* open = window->findChild<QPushButton*>("btnOpenStudy");
    for (const std::optional<int> choice : { std::optional<int>(), std::optional<int>(id) }) {
        m_log->choice = choice;
        m_log->preprocessed.clear();
        QTest::mouseClick(open, Qt::LeftButton);
        // A downloaded study goes to processing, which this fake refuses.
        EXPECT_EQ(m_log->preprocessed.size(), choice ? 1 : 0);
    }
    EXPECT_EQ(m_log->browsed, 2);
    expectIdle(*window);
    QTest::mouseClick(window->findChild<QPushButton*>("btnConfig"), Qt::LeftButton);
    EXPECT_EQ(m_log->configured, 1);
}

TEST_F(LauncherFlowTest, ReprocessDropsBeatsAndResultsAndRunsAgain)
{
    auto window = startWindow();
    QSignalSpy finished(window.get(), &MainWindow::processingFinished);
    window->findChild<QPushButton*>("btnDownloadStudy")->click();
    ASSERT_EQ(waitForRun(finished), ProcessingOutcome::Done);
    const int id = m_log->preprocessed[0].first;
    StudyRepository& repo = *window->repository();
    Study* s = repo.openStudy(id);
    s->results().insert("HR/minBPM", std::make_unique<ValueResult>(55.0));
    repo.saveStudy(s);
    repo.closeStudy(s);
    const int beatsBefore = stored(*window, id).beats;
    finished.clear();

    window->reprocessStudy(id);
    ASSERT_EQ(m_log->preprocessed.size(), 2);
    EXPECT_EQ(window->processingStudyId(), id);
    ASSERT_EQ(waitForRun(finished), ProcessingOutcome::Done);
    const Stored after = stored(*window, id);
    EXPECT_FALSE(after.hasResults);
    EXPECT_EQ(after.beats, beatsBefore) << "the same signal gives the same beats";
    EXPECT_EQ(after.status, QByteArray(StudyStatus::Processed));
}

} // namespace

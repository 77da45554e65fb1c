#include "shell/mainwindow.h"
#include "tests/shell/launchertestutil.h"
#include "tests/support/testsupport.h"

#include <QApplication>
#include <QFileInfo>
#include <QFrame>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

template <typename T> T* child(const QWidget& window, const char* name)
{
    T* widget = window.findChild<T*>(name);
    EXPECT_NE(widget, nullptr) << "missing widget " << name;
    return widget;
}

class MainWindowTest : public ::testing::Test
{
protected:
    void SetUp() override { m_options.rootOverride = m_temp.file("store"); }

    // Shows the window and runs events until its delayed start-up has run (five seconds at most).
    static bool showAndStart(MainWindow& window)
    {
        window.show();
        return QTest::qWaitFor([&] { return window.isStarted(); }, 5000);
    }

    testsupport::TempRoot m_temp;
    StudyRepository::Options m_options;
};

TEST_F(MainWindowTest, DelayedStartupBuildsTheStoreOrReportsWhyNot)
{
    // A regular file where the second store's folder should go.
    testsupport::writeAll(m_temp.file("blocker"), "not a folder");
    for (const QString& root : { m_temp.file("store"), m_temp.file("blocker/store") }) {
        SCOPED_TRACE(root.toStdString());
        const bool fails = root.contains("blocker");
        m_options.rootOverride = root;
        MainWindow window(m_options);
        QSignalSpy finished(&window, &MainWindow::startupFinished);
        QSignalSpy failed(&window, &MainWindow::startupFailed);
        // The store is left alone until the window has had a chance to show.
        EXPECT_EQ(window.repository(), nullptr);
        EXPECT_FALSE(QFileInfo::exists(root));
        ASSERT_TRUE(showAndStart(window));
        QTest::qWait(50); // runs once only
        EXPECT_EQ(window.repository() == nullptr, fails);
        EXPECT_EQ(QFileInfo(root + "/data/studies.sqlite").isFile(), !fails);
        EXPECT_EQ(finished.count(), fails ? 0 : 1);
        ASSERT_EQ(failed.count(), fails ? 1 : 0);
        EXPECT_EQ(window.startupError().isEmpty(), !fails);
        EXPECT_EQ(fails ? failed.at(0).at(0).toString() : QString(), window.startupError());
        EXPECT_TRUE(window.isEnabled());
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }
}

// Every widget lies wholly inside its parent, and nothing visible overlaps its siblings.
void expectTidyLayout(const QWidget* parent)
{
    const QList<QWidget*> children
        = parent->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    for (int i = 0; i < children.size(); ++i) {
        const QWidget* a = children[i];
        if (a->isHidden())
            continue;
        SCOPED_TRACE(a->objectName().toStdString());
        EXPECT_TRUE(parent->rect().contains(a->geometry()))
            << "outside " << parent->objectName().toStdString();
        for (int j = i + 1; j < children.size(); ++j) {
            const QWidget* b = children[j];
            EXPECT_FALSE(!b->isHidden() && a->geometry().intersects(b->geometry()))
                << "overlaps " << b->objectName().toStdString();
        }
        expectTidyLayout(a);
    }
}

TEST_F(MainWindowTest, ActionButtonsFollowTheProcessingFrame)
{
    MainWindow window(m_options);
    window.show();
    EXPECT_FALSE(child<QLabel>(window, "lblBrandLogo")->pixmap(Qt::ReturnByValue).isNull());
    EXPECT_TRUE(child<QPushButton>(window, "btnDownloadStudy")->isEnabled());
    EXPECT_TRUE(child<QPushButton>(window, "btnOpenStudy")->isEnabled());
    EXPECT_TRUE(child<QPushButton>(window, "btnConfig")->isEnabled());
    const QFrame* frame = child<QFrame>(window, "frameButtons");
    const QWidget* download = child<QWidget>(window, "btnDownloadStudy");
    const QWidget* open = child<QWidget>(window, "btnOpenStudy");
    const QFrame* processing = child<QFrame>(window, "frameProcessing");
    ASSERT_TRUE(frame && download && open && processing);
    // At rest the buttons sit in the second and fourth of five bands of their frame.
    const int h = frame->height();
    for (int step = 0; step < 3; ++step) { // as built, processing shown, hidden again
        SCOPED_TRACE(step);
        const bool shown = step == 1;
        if (step > 0)
            window.showProcessingFrame(shown);
        EXPECT_EQ(processing->isVisible(), shown);
        EXPECT_EQ(download->pos(), shown ? QPoint(10, 10) : QPoint(10, h / 5));
        EXPECT_EQ(open->pos(), QPoint(10, shown ? h - 10 - open->height() : 3 * (h / 5)));
        expectTidyLayout(window.centralWidget());
    }
    EXPECT_TRUE(child<QPushButton>(window, "btnProcessCancel")->isEnabled());
}

TEST_F(MainWindowTest, ExitWithNothingProcessingClosesEveryWindow)
{
    MainWindow window(m_options);
    ASSERT_TRUE(showAndStart(window));
    QWidget other;
    other.show();
    QTest::mouseClick(child<QPushButton>(window, "btnExit"), Qt::LeftButton);
    EXPECT_FALSE(window.isVisible());
    EXPECT_FALSE(other.isVisible());
}

// Counts the times the download dialog is asked for; downloads nothing.
class CountingDownload : public launchertest::FakeDialogs
{
public:
    explicit CountingDownload(std::shared_ptr<Log> log)
        : FakeDialogs(log, QString())
        , m_log(std::move(log))
    {
    }
    void download(QWidget*, StudyRepository&, const std::function<void(int)>&) override
    {
        ++m_log->downloads;
    }

private:
    std::shared_ptr<Log> m_log;
};

// Before a download: 500 MB (500 * 1024 * 1024 bytes) free at least; unknown counts as enough.
TEST_F(MainWindowTest, DownloadWarnsOnlyBelowTheFreeSpaceMinimum)
{
    const qint64 minimum = 500LL * 1024 * 1024;
    for (const qint64 free : { minimum - 1, minimum, qint64(-1) }) {
        SCOPED_TRACE(free);
        m_options.freeSpaceQuery = [free](const QString&) { return free; };
        MainWindow window(m_options);
        auto log = std::make_shared<launchertest::FakeDialogs::Log>();
        ASSERT_TRUE(showAndStart(window));
        ASSERT_NE(window.repository(), nullptr);
        QString title, text;
        QTimer::singleShot(0, [&] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                title = box->windowTitle();
                text = box->text();
                box->accept();
            }
        });
        // The fake only counts: the dialog is asked for exactly when there is room.

        window.setDialogs(std::make_unique<CountingDownload>(log));
        QTest::mouseClick(child<QPushButton>(window, "btnDownloadStudy"), Qt::LeftButton);
        QTest::qWait(20);
        EXPECT_EQ(log->downloads, free == minimum - 1 ? 0 : 1);
        if (free == minimum - 1) {
            EXPECT_EQ(title, QString("Warning"));
            EXPECT_EQ(text,
                QString("There is not enough free space on disk.\nPlease free at least "
                        "500 MB to download a new study."));
        } else {
            EXPECT_TRUE(text.isEmpty()) << text.toStdString();
        }
    }
}

} // namespace

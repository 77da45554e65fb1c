#include "shell/mainwindow.h"
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

constexpr int kWidth = 421;
constexpr int kHeight = 321;

template <typename T> T* child(const QWidget& window, const char* name)
{
    T* widget = window.findChild<T*>(name);
    EXPECT_NE(widget, nullptr) << "missing widget " << name;
    return widget;
}

// Runs events until the delayed start-up has run, or for at most five seconds.
bool waitForStartup(const MainWindow& window)
{
    for (int i = 0; i < 500 && !window.isStarted(); ++i)
        QTest::qWait(10);
    return window.isStarted();
}

class MainWindowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QCoreApplication::setOrganizationName("Veltrona");
        QCoreApplication::setApplicationName("Holter ECG");
        QCoreApplication::setApplicationVersion("1.19");
        m_options.rootOverride = m_temp.file("store");
    }

    QString root() const { return m_options.rootOverride; }

    testsupport::TempRoot m_temp;
    StudyRepository::Options m_options;
};

TEST_F(MainWindowTest, DelayedStartupBuildsTheStore)
{
    MainWindow window(m_options);
    QSignalSpy finished(&window, &MainWindow::startupFinished);
    QSignalSpy failed(&window, &MainWindow::startupFailed);
    // The store is left alone until the window has had a chance to show.
    EXPECT_EQ(window.repository(), nullptr);
    EXPECT_FALSE(QFileInfo::exists(root()));

    window.show();
    ASSERT_TRUE(waitForStartup(window));
    ASSERT_NE(window.repository(), nullptr) << window.startupError().toStdString();
    EXPECT_TRUE(window.startupError().isEmpty());
    EXPECT_EQ(finished.count(), 1);
    EXPECT_EQ(failed.count(), 0);
    EXPECT_TRUE(QFileInfo(root() + "/data/studies.sqlite").isFile());
    EXPECT_TRUE(window.isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);

    // Runs once only.
    QTest::qWait(50);
    EXPECT_EQ(finished.count(), 1);
}

TEST_F(MainWindowTest, StoreFailureIsReportedNotThrown)
{
    // A regular file where the store's folder should go.
    testsupport::writeAll(m_temp.file("blocker"), "not a folder");
    m_options.rootOverride = m_temp.file("blocker/store");
    MainWindow window(m_options);
    QSignalSpy failed(&window, &MainWindow::startupFailed);
    window.show();
    ASSERT_TRUE(waitForStartup(window));
    EXPECT_EQ(window.repository(), nullptr);
    ASSERT_EQ(failed.count(), 1);
    EXPECT_FALSE(window.startupError().isEmpty());
    EXPECT_EQ(failed.at(0).at(0).toString(), window.startupError());
    EXPECT_TRUE(window.isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(MainWindowTest, FixedSizeBrandingAndUnfinishedFeatures)
{
    MainWindow window(m_options);
    window.show();
    EXPECT_EQ(window.minimumSize(), QSize(kWidth, kHeight));
    EXPECT_EQ(window.maximumSize(), QSize(kWidth, kHeight));
    EXPECT_EQ(window.windowTitle(), QString("Veltrona Holter ECG"));
    EXPECT_EQ(child<QLabel>(window, "lblVersion")->text(), QString("v 1.19"));
    EXPECT_TRUE(child<QLabel>(window, "lblVetBrand")->isHidden());
    EXPECT_FALSE(child<QLabel>(window, "lblBrandLogo")->pixmap(Qt::ReturnByValue).isNull());
    EXPECT_TRUE(child<QFrame>(window, "frameProcessing")->isHidden());
    // Buttons whose feature does not exist yet are disabled and say so.
    for (const char* name : { "btnDownloadStudy", "btnOpenStudy", "btnConfig" }) {
        const QPushButton* button = child<QPushButton>(window, name);
        ASSERT_NE(button, nullptr);
        EXPECT_FALSE(button->isEnabled()) << name;
        EXPECT_FALSE(button->toolTip().isEmpty()) << name;
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
            if (b->isHidden())
                continue;
            EXPECT_FALSE(a->geometry().intersects(b->geometry()))
                << "overlaps " << b->objectName().toStdString();
        }
        expectTidyLayout(a);
    }
}

TEST_F(MainWindowTest, ActionButtonsFollowTheProcessingFrame)
{
    MainWindow window(m_options);
    window.show();
    const QFrame* frame = child<QFrame>(window, "frameButtons");
    const QWidget* download = child<QWidget>(window, "btnDownloadStudy");
    const QWidget* open = child<QWidget>(window, "btnOpenStudy");
    const QFrame* processing = child<QFrame>(window, "frameProcessing");
    ASSERT_TRUE(frame && download && open && processing);
    const int h = frame->height();
    const QPoint restDownload(10, h / 5);
    const QPoint restOpen(10, 3 * (h / 5));

    EXPECT_EQ(download->pos(), restDownload);
    EXPECT_EQ(open->pos(), restOpen);
    expectTidyLayout(window.centralWidget());

    window.showProcessingFrame(true);
    EXPECT_EQ(download->pos(), QPoint(10, 10));
    EXPECT_EQ(open->x(), 10);
    EXPECT_EQ(open->y() + open->height(), h - 10);
    EXPECT_TRUE(processing->isVisible());
    EXPECT_TRUE(child<QPushButton>(window, "btnProcessCancel")->isEnabled());
    expectTidyLayout(window.centralWidget());

    window.showProcessingFrame(false);
    EXPECT_EQ(download->pos(), restDownload);
    EXPECT_EQ(open->pos(), restOpen);
    EXPECT_FALSE(processing->isVisible());
}

TEST_F(MainWindowTest, ExitWithNothingProcessingClosesEveryWindow)
{
    MainWindow window(m_options);
    window.show();
    ASSERT_TRUE(waitForStartup(window));
    QWidget other;
    other.show();
    QTest::mouseClick(child<QPushButton>(window, "btnExit"), Qt::LeftButton);
    EXPECT_FALSE(window.isVisible());
    EXPECT_FALSE(other.isVisible());
}

// Before a download: 500 MB (500 * 1024 * 1024 bytes) free at least; unknown counts as enough.
struct FreeSpaceCase
{
    qint64 freeBytes;
    bool warns;
};

class MainWindowFreeSpace : public MainWindowTest,
                            public ::testing::WithParamInterface<FreeSpaceCase>
{
};

TEST_P(MainWindowFreeSpace, WarnsOnlyBelowTheMinimum)
{
    const FreeSpaceCase c = GetParam();
    m_options.freeSpaceQuery = [c](const QString&) { return c.freeBytes; };
    MainWindow window(m_options);
    window.show();
    ASSERT_TRUE(waitForStartup(window));
    ASSERT_NE(window.repository(), nullptr);

    QString title;
    QString text;
    QTimer::singleShot(0, [&] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            title = box->windowTitle();
            text = box->text();
            box->accept();
        }
    });
    // The button itself is disabled until the download dialog exists.
    QMetaObject::invokeMethod(&window, "on_btnDownloadStudy_clicked");
    QTest::qWait(20);
    if (c.warns) {
        EXPECT_EQ(title, QString("Warning"));
        EXPECT_EQ(text,
            QString("There is not enough free space on disk.\nPlease free at least "
                    "500 MB to download a new study."));
    } else {
        EXPECT_TRUE(text.isEmpty()) << text.toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(Shell, MainWindowFreeSpace,
    ::testing::Values(FreeSpaceCase { 0, true }, FreeSpaceCase { 500LL * 1024 * 1024 - 1, true },
        FreeSpaceCase { 500LL * 1024 * 1024, false },
        FreeSpaceCase { 8LL * 1024 * 1024 * 1024, false }, FreeSpaceCase { -1, false }));

} // namespace

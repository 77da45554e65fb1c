#include "shell/mainwindow.h"

#include "resources/holterresources.h"
#include "ui_mainwindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMessageBox>
#include <QProgressDialog>
#include <QTimer>

#include <exception>

namespace {
// Start-up waits this long so that the window is painted before the slow part runs.
constexpr int kStartupDelayMs = 10;
// Margin of the action buttons inside their frame, in pixels.
constexpr int kButtonMargin = 10;
} // namespace

MainWindow::MainWindow(QWidget* parent)
    : MainWindow(StudyRepository::Options(), parent)
{
}

MainWindow::MainWindow(const StudyRepository::Options& storeOptions, QWidget* parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWindow>())
    , m_storeOptions(storeOptions)
{
    initHolterResources();
    m_ui->setupUi(this);
    setWindowTitle(QString("%1 %2").arg(
        QCoreApplication::organizationName(), QCoreApplication::applicationName()));

    // The veterinary branding is a build variant; this build never shows it.
    m_ui->lblVetBrand->hide();
    m_ui->lblVersion->setText(tr("v %1").arg(QCoreApplication::applicationVersion()));
    m_ui->frameProcessing->hide();
    placeActionButtons();

    // The download, open and configuration dialogs are not part of this version yet.
    m_ui->btnDownloadStudy->setEnabled(false);
    m_ui->btnDownloadStudy->setToolTip(tr("Downloading studies comes in a later version."));
    m_ui->btnOpenStudy->setEnabled(false);
    m_ui->btnOpenStudy->setToolTip(tr("Opening studies comes in a later version."));
    m_ui->btnConfig->setEnabled(false);
    m_ui->btnConfig->setToolTip(tr("Settings come in a later version."));

    connect(m_ui->btnExit, &QPushButton::clicked, this, &QWidget::close);

    m_processingStudyId = 0;

    auto* startup = new QTimer(this);
    startup->setInterval(kStartupDelayMs);
    startup->setSingleShot(true);
    connect(startup, &QTimer::timeout, this, &MainWindow::delayedStartup);
    startup->start();
}

MainWindow::~MainWindow() = default;

void MainWindow::placeActionButtons()
{
    // Five equal bands: the buttons sit in the second and the fourth.
    const int band = m_ui->frameButtons->height() / 5;
    m_ui->btnDownloadStudy->move(kButtonMargin, band);
    m_ui->btnOpenStudy->move(kButtonMargin, 3 * band);
}

void MainWindow::showProcessingFrame(bool visible)
{
    if (!visible) {
        m_ui->frameProcessing->hide();
        placeActionButtons();
        return;
    }
    m_ui->btnDownloadStudy->move(kButtonMargin, kButtonMargin);
    const int openY = m_ui->frameButtons->height() - kButtonMargin - m_ui->btnOpenStudy->height();
    m_ui->btnOpenStudy->move(kButtonMargin, openY);
    m_ui->frameProcessing->show();
    m_ui->btnProcessCancel->setEnabled(true);
}

void MainWindow::delayedStartup()
{
    setEnabled(false);
    QProgressDialog wait(tr("Please wait..."), QString(), 0, 0, this);
    wait.setWindowModality(Qt::ApplicationModal);
    wait.setMinimumDuration(0);
    wait.show();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    // Paint the dialog before the index is opened, which may take a while when it is rebuilt.
    QCoreApplication::processEvents();

    try {
        m_repository = std::make_unique<StudyRepository>(kDataFolderName, m_storeOptions);
    } catch (const std::exception& e) {
        // An exception must not cross the event loop; main reports it instead.
        m_startupError = QString::fromUtf8(e.what());
    }

    QApplication::restoreOverrideCursor();
    wait.hide();
    setEnabled(true);
    m_started = true;
    if (m_repository)
        emit startupFinished();
    else
        emit startupFailed(m_startupError);
}

void MainWindow::on_btnDownloadStudy_clicked()
{
    if (!m_repository)
        return;
    if (!m_repository->hasFreeSpace()) {
        QMessageBox::warning(this, tr("Warning"),
            tr("There is not enough free space on disk.\nPlease free at least "
               "500 MB to download a new study."));
        return;
    }
    // The download dialog takes over from here once it exists; the button stays disabled
    // until then.
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    // A study in processing is cancelled and waited for, never left half written.
    if (m_processingStudyId != 0) {
        m_ui->btnProcessCancel->click();
        while (m_processingStudyId != 0)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows) {
        if (window != this && window->isVisible())
            window->close();
    }
    event->accept();
}

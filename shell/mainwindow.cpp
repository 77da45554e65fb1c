#include "shell/mainwindow.h"

#include "resources/holterresources.h"
#include "shell/launcherdialogs.h"
#include "store/beatlist.h"
#include "store/study.h"
#include "store/studystatus.h"
#include "ui_mainwindow.h"
#include "workflow/downloadexport.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMessageBox>
#include <QProgressDialog>
#include <QSettings>
#include <QTimer>

#include <algorithm>
#include <exception>

namespace {
// Start-up waits this long so that the window is painted before the slow part runs.
constexpr int kStartupDelayMs = 10;
// Margin of the action buttons inside their frame, in pixels.
constexpr int kButtonMargin = 10;

// A wait cursor for the length of a scope.
class WaitCursor
{
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};
} // namespace

MainWindow::MainWindow(QWidget* parent)
    : MainWindow(StudyRepository::Options(), parent)
{
}

MainWindow::MainWindow(const StudyRepository::Options& storeOptions, QWidget* parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWindow>())
    , m_storeOptions(storeOptions)
    , m_dialogs(makeLauncherDialogs())
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

    m_ui->btnConfig->setToolTip(tr("Configuration"));

    connect(m_ui->btnExit, &QPushButton::clicked, this, &QWidget::close);

    m_processingStudyId = 0;

    auto* startup = new QTimer(this);
    startup->setInterval(kStartupDelayMs);
    startup->setSingleShot(true);
    connect(startup, &QTimer::timeout, this, &MainWindow::delayedStartup);
    startup->start();
}

MainWindow::~MainWindow()
{
    // A run still going when the window is destroyed without closing is stopped and waited
    // for before the repository goes.
    m_processing.reset();
}

void MainWindow::setDialogs(std::unique_ptr<LauncherDialogs> dialogs)
{
    m_dialogs = std::move(dialogs);
}

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
    m_dialogs->download(this, *m_repository, [this](int id) { afterDownload(id); });
}

void MainWindow::on_btnOpenStudy_clicked()
{
    if (!m_repository)
        return;
    if (const std::optional<int> id = m_dialogs->chooseStudy(this, *m_repository))
        openStudy(*id);
}

void MainWindow::on_btnConfig_clicked()
{
    m_dialogs->configure(this);
}

void MainWindow::afterDownload(int id)
{
    const PostDownloadStep step = postDownloadStep(QSettings());
    if (step.action == PostDownloadStep::Export)
        exportDownloadedStudy(id, step.folder);
    else
        processStudy(id, true);
}

namespace {
// Forwards an operation's progress to a progress dialog and keeps the window alive.
class ProgressDialogSink : public ProgressSink
{
public:
    explicit ProgressDialogSink(QProgressDialog& dialog)
        : m_dialog(dialog)
    {
    }
    void progress(qint64 position, qint64 total) override
    {
        // A progress dialog counts in int; per mille is fine enough for a bar.
        m_dialog.setMaximum(1000);
        m_dialog.setValue(total > 0 ? int(std::min<qint64>(1000, position * 1000 / total)) : 0);
        QCoreApplication::processEvents();
    }

private:
    QProgressDialog& m_dialog;
};
} // namespace

void MainWindow::exportDownloadedStudy(int id, const QString& folder)
{
    QProgressDialog wait(tr("Please wait..."), QString(), 0, 1, this);
    wait.setWindowModality(Qt::WindowModal);
    wait.setMinimumDuration(0);
    wait.show();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    QCoreApplication::processEvents();
    ProgressDialogSink sink(wait);
    RepositoryExporter exporter(*m_repository);
    const StudyExportResult result = ::exportDownloadedStudy(exporter, id, folder, &sink);
    QApplication::restoreOverrideCursor();
    wait.hide();
    if (result.exported)
        QMessageBox::information(this, tr("Information"), result.message);
    else
        QMessageBox::warning(this, tr("Warning"), result.message);
}

void MainWindow::openStudy(int id)
{
    if (!m_repository)
        return;
    if (id == m_processingStudyId) {
        QMessageBox::information(
            this, QString(), tr("Study is being processed, please wait until ready"));
        return;
    }
    if (m_repository->isStudyOpen(id)) {
        QMessageBox::information(this, QString(), tr("Study is already open for review"));
        return;
    }
    Study* study = nullptr;
    {
        WaitCursor wait;
        study = m_repository->openStudy(id);
    }
    if (!study) {
        QMessageBox::warning(this, QString(), tr("Study file not found"));
        return;
    }
    try {
        if (study->property("status") == StudyStatus::Downloaded) {
            m_repository->closeStudy(study);
            processStudy(id, false);
            return;
        }
        if (!study->beats() || study->beats()->count() == 0) {
            const auto answer = QMessageBox::question(this, tr("Confirm"),
                tr("This study needs to be reprocessed. Continue?"),
                QMessageBox::Yes | QMessageBox::No);
            if (answer == QMessageBox::Yes) {
                study->results().clear();
                m_repository->saveStudy(study);
                m_repository->closeStudy(study);
                processStudy(id, false);
                return;
            }
        }
        // The review window takes the study from here once it exists.
        QMessageBox::information(this, tr("Information"),
            tr("The study is ready for review. Reviewing studies comes in a later version of "
               "the workstation; the report can be made with holter-cli meanwhile."));
        m_repository->saveStudy(study);
    } catch (const std::exception& e) {
        QMessageBox::warning(this, tr("Warning"), QString::fromUtf8(e.what()));
    }
    m_repository->closeStudy(study);
}

void MainWindow::reprocessStudy(int id)
{
    if (!m_repository)
        return;
    Study* study = m_repository->openStudy(id);
    if (!study) {
        QMessageBox::warning(this, QString(), tr("Study file not found"));
        return;
    }
    try {
        if (study->beats())
            study->beats()->clear();
        study->results().clear();
        m_repository->saveStudy(study);
    } catch (const std::exception& e) {
        m_repository->closeStudy(study);
        QMessageBox::warning(this, tr("Warning"), QString::fromUtf8(e.what()));
        return;
    }
    m_repository->closeStudy(study);
    processStudy(id, false);
}

void MainWindow::processStudy(int id, bool afterDownload)
{
    if (!m_repository)
        return;
    // One study at a time: the download button is off meanwhile, but a study can still be
    // opened from the browser.
    if (m_processingStudyId != 0) {
        QMessageBox::information(this, QString(),
            tr("Another study is being processed. Please wait until it is ready."));
        return;
    }
    Study* study = m_repository->openStudy(id);
    if (!study)
        return;
    const std::optional<ProcessingOptions> options
        = m_dialogs->preprocess(this, *m_repository, study, afterDownload);
    if (!options) {
        // Asked again at the next open.
        m_repository->closeStudy(study);
        return;
    }

    showProcessingFrame(true);
    m_ui->lblProcessStatus->setText(tr("Processing"));
    m_ui->barProcessProgress->setValue(0);
    m_ui->btnDownloadStudy->setEnabled(false);
    m_processingStudyId = id;

    m_processing = std::make_unique<StudyProcessing>(*m_repository, study, *options);
    connect(m_processing.get(), &StudyProcessing::progress, this, &MainWindow::processingProgress);
    connect(m_processing.get(), &StudyProcessing::finished, this, &MainWindow::processingEnded);
    m_ui->btnProcessCancel->disconnect();
    connect(m_ui->btnProcessCancel, &QPushButton::clicked, this, &MainWindow::cancelProcessing);
    m_processing->start();
}

void MainWindow::processingProgress(const QString& status, double percent)
{
    m_ui->lblProcessStatus->setText(status);
    m_ui->barProcessProgress->setValue(int(std::clamp(percent, 0.0, 100.0)));
}

void MainWindow::cancelProcessing()
{
    if (!m_processing)
        return;
    m_processing->cancel();
    m_ui->btnProcessCancel->setEnabled(false);
    if (!m_cancelCursor) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        m_cancelCursor = true;
    }
}

void MainWindow::processingEnded(ProcessingOutcome outcome, const QString& message)
{
    // The run is over and the study settled and saved; it is closed here, and the run object
    // goes once its signal has returned.
    std::unique_ptr<StudyProcessing> run = std::move(m_processing);
    const int id = m_processingStudyId;
    m_repository->closeStudy(run->study());
    run.release()->deleteLater();

    m_ui->btnDownloadStudy->setEnabled(true);
    m_processingStudyId = 0;
    showProcessingFrame(false);
    if (m_cancelCursor) {
        QApplication::restoreOverrideCursor();
        m_cancelCursor = false;
    }
    emit processingFinished(id, outcome);
    if (outcome == ProcessingOutcome::Failed || !message.isEmpty())
        QMessageBox::warning(this, tr("Warning"),
            tr("Processing of the study stopped:\n%1\nThe study can be processed again when "
               "it is opened.")
                .arg(message));
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

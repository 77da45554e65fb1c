#pragma once

#include "store/studyrepository.h"
#include "workflow/studyprocessing.h"

#include <QMainWindow>
#include <QString>

#include <memory>

namespace Ui {
class MainWindow;
}
class LauncherDialogs;

// The launcher panel: download, open, configuration and exit, and the frame that follows the
// one study being processed. It owns the process's study repository, which it builds in a
// delayed step so that the window is on screen before the index is opened or rebuilt, and it
// decides what happens to a study after download, when it is opened and when processing ends.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    // The store folder under the application data location.
    static constexpr const char* kDataFolderName = "VeltronaHolter";

    explicit MainWindow(QWidget* parent = nullptr);
    // `storeOptions` reach the repository (e.g. another root for --data-dir or tests).
    explicit MainWindow(const StudyRepository::Options& storeOptions, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Replaces the dialogs the window runs (tests put simpler ones in).
    void setDialogs(std::unique_ptr<LauncherDialogs> dialogs);

    // Null until the delayed start-up has run, and after it failed.
    StudyRepository* repository() const { return m_repository.get(); }
    // True once the delayed start-up has run, whether or not it succeeded.
    bool isStarted() const { return m_started; }
    // The message of a failed start-up, empty otherwise.
    QString startupError() const { return m_startupError; }
    // The study being processed, 0 when none.
    qint32 processingStudyId() const { return m_processingStudyId; }
    // The run in progress, null when none; its signals tell how processing goes.
    StudyProcessing* processing() const { return m_processing.get(); }

    // Makes room for the processing frame between the two action buttons, or puts the buttons
    // back to their resting places.
    void showProcessingFrame(bool visible);

public slots:
    // Opens a stored study the way its state asks: processing for a downloaded one, the
    // question for one without beats, else review.
    void openStudy(int id);
    // Asks for the run's options and starts processing the study in the background.
    void processStudy(int id, bool afterDownload);
    // Throws the study's beats and results away and processes it again.
    void reprocessStudy(int id);

signals:
    // Emitted once by the delayed start-up, with the repository ready.
    void startupFinished();
    // Emitted instead when the repository could not be built; the caller ends the program.
    void startupFailed(const QString& message);
    // A processing run ended and its study was settled and closed.
    void processingFinished(int studyId, ProcessingOutcome outcome);

protected:
    void closeEvent(QCloseEvent* event) override;

private slots:
    void on_btnDownloadStudy_clicked();
    void on_btnOpenStudy_clicked();
    void on_btnConfig_clicked();
    void delayedStartup();

private:
    void placeActionButtons();
    void afterDownload(int id);
    void exportDownloadedStudy(int id, const QString& folder);
    void processingProgress(const QString& status, double percent);
    void processingEnded(ProcessingOutcome outcome, const QString& message);
    void cancelProcessing();

    std::unique_ptr<Ui::MainWindow> m_ui;
    StudyRepository::Options m_storeOptions;
    std::unique_ptr<StudyRepository> m_repository;
    std::unique_ptr<LauncherDialogs> m_dialogs;
    std::unique_ptr<StudyProcessing> m_processing;
    QString m_startupError;
    bool m_started = false;
    bool m_cancelCursor = false;
    qint32 m_processingStudyId = 0;
};

#pragma once

#include "store/studyrepository.h"

#include <QMainWindow>
#include <QString>

#include <memory>

namespace Ui {
class MainWindow;
}

// The launcher panel: download, open, configuration and exit, and the frame that follows the
// one study being processed. It owns the process's study repository, which it builds in a
// delayed step so that the window is on screen before the index is opened or rebuilt.
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

    // Null until the delayed start-up has run, and after it failed.
    StudyRepository* repository() const { return m_repository.get(); }
    // True once the delayed start-up has run, whether or not it succeeded.
    bool isStarted() const { return m_started; }
    // The message of a failed start-up, empty otherwise.
    QString startupError() const { return m_startupError; }
    // The study being processed, 0 when none.
    qint32 processingStudyId() const { return m_processingStudyId; }

    // Makes room for the processing frame between the two action buttons, or puts the buttons
    // back to their resting places.
    void showProcessingFrame(bool visible);

signals:
    // Emitted once by the delayed start-up, with the repository ready.
    void startupFinished();
    // Emitted instead when the repository could not be built; the caller ends the program.
    void startupFailed(const QString& message);

protected:
    void closeEvent(QCloseEvent* event) override;

private slots:
    void on_btnDownloadStudy_clicked();
    void delayedStartup();

private:
    void placeActionButtons();

    std::unique_ptr<Ui::MainWindow> m_ui;
    StudyRepository::Options m_storeOptions;
    std::unique_ptr<StudyRepository> m_repository;
    QString m_startupError;
    bool m_started = false;
    qint32 m_processingStudyId = 0;
};

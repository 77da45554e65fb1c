#pragma once

#include "recorder/removablevolumes.h"
#include "store/progresssink.h"

#include <QDialog>
#include <QString>

#include <functional>
#include <memory>

class CardSignalFile;
class DisplayFilterChain;
class QTimer;
class StudyRepository;

namespace Ui {
class DownloadDialog;
}

// Takes a recorder's memory card to a new study: finds the card, previews it, collects the
// patient's name and the leads, and copies it through importCard, the same copy the command
// line makes. Everything runs on the main thread; the copy lets events through after each
// block so that Cancel stays live.
class DownloadDialog : public QDialog
{
    Q_OBJECT

public:
    // Asks for a card file by hand; answers the chosen path, or empty when the user gave up.
    using FileChooser = std::function<QString(QWidget* parent)>;

    static constexpr int kSearchIntervalMs = 200;

    // `volumes` null: the system's removable volumes.
    explicit DownloadDialog(StudyRepository& repository, QWidget* parent = nullptr,
        std::unique_ptr<RemovableVolumes> volumes = nullptr);
    ~DownloadDialog() override;

    // Replaces the file dialog of "Select file..." (tests, tools).
    void setFileChooser(FileChooser chooser);
    // Replaces the file dialog of "Import file...".
    void setRecordingChooser(FileChooser chooser);

    // The card being shown, empty when none.
    QString folder() const { return m_folder; }
    bool isCopying() const { return m_copying; }

public slots:
    // Cancel, Esc and closing the window: also stops a copy that is running.
    void reject() override;

signals:
    void downloaded(int studyId);

private slots:
    void on_btnDownload_clicked();
    void on_btnSelectFile_clicked();
    void on_btnImportFile_clicked();

private:
    bool searchCard();
    void restartSearch();
    void cardFound();
    void loadPreview();
    void releasePreview();
    void configurePreviewFilter();
    void renameChannel(int channel);
    void invertChannel(int channel, bool inverted);
    void checkForm();
    bool formComplete() const;
    // The copy; returns the new study's id, throws with the message to show.
    int copyCard();
    void deleteCardFiles();
    // Locks the form for a copy or an import, or frees it again.
    void setBusy(bool busy);

    std::unique_ptr<Ui::DownloadDialog> m_ui;
    StudyRepository& m_repository;
    std::unique_ptr<RemovableVolumes> m_volumes;
    FileChooser m_chooseFile;
    FileChooser m_chooseRecording;
    QTimer* m_searchTimer = nullptr; // child
    QString m_folder; // the card's folder, with a final separator; empty when none
    QString m_cardFile; // the data file in it
    qint64 m_dataOffset = 0;
    std::unique_ptr<CardSignalFile> m_source;
    std::unique_ptr<DisplayFilterChain> m_previewFilter; // over m_source
    CancelFlag m_cancelled { false };
    bool m_copying = false;
};

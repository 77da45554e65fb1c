#pragma once

#include "store/progresssink.h"
#include "workflow/settingskeys.h"

#include <QDialog>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <memory>

class QTreeWidget;
class QTreeWidgetItem;
class QUrl;
class StudyRepository;

namespace Ui {
class OpenStudyDialog;
}

// The study browser: the local studies and, on request, the archives of a shared folder. From
// it the user opens a study, views its report, deletes, exports and imports archives, and sends
// studies to the maker through the external uploader. Main thread only.
class OpenStudyDialog : public QDialog
{
    Q_OBJECT

public:
    // What the dialog asks of the desktop, replaceable so that tests don't open viewers, folder
    // pickers or programs. Empty members take the desktop's own.
    struct Desktop
    {
        std::function<bool(const QUrl&)> openUrl;
        // Returns the chosen folder, or empty when the user cancelled.
        std::function<QString(QWidget* parent, const QString& title, const QString& start)>
            chooseFolder;
        std::function<bool(const QString& program, const QStringList& arguments)> startDetached;
    };

    // Settings of the folder history.
    static constexpr const char* FolderListSetting = SettingsKeys::SharedFolderList;
    static constexpr const char* DefaultFolderSetting = SettingsKeys::DefaultSharedFolder;

    // `repository` is not owned and outlives the dialog.
    explicit OpenStudyDialog(StudyRepository& repository, QWidget* parent = nullptr);
    OpenStudyDialog(StudyRepository& repository, const Desktop& desktop, QWidget* parent = nullptr);
    ~OpenStudyDialog() override;

    // The study chosen when the dialog was accepted, 0 before.
    qint32 selectedStudyId() const { return m_selectedStudyId; }
    // The shared folder in use (the current entry of the history), empty when none.
    QString sharedFolder() const;
    bool isSharedPaneVisible() const { return m_sharedVisible; }

    void done(int result) override;

signals:
    // Once for each local study removed.
    void deletedStudy(int id);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private slots:
    void on_txtFilter_textChanged(const QString& text);
    void on_treeStudies_itemDoubleClicked(QTreeWidgetItem* item, int column);
    void on_treeStudies_currentItemChanged(QTreeWidgetItem* current, QTreeWidgetItem* previous);
    void on_treeStudies_itemSelectionChanged();
    void on_treeSharedStudies_currentItemChanged(
        QTreeWidgetItem* current, QTreeWidgetItem* previous);
    void on_treeSharedStudies_itemSelectionChanged();
    void on_OpenStudyDialog_accepted();
    void on_actionDelete_triggered();
    void on_btnShareExport_clicked();
    void on_btnShareImport_clicked();
    void on_btnShare_clicked();
    void on_btnShareFolder_clicked();
    void on_cboShareFolders_currentIndexChanged(int index);
    void on_btnReport_clicked();
    void on_btnDelete_clicked();
    void on_btnSend_clicked();

private:
    // How a loop over several studies ended.
    struct LoopOutcome
    {
        int done = 0; // items finished before the loop stopped
        bool cancelled = false;
        QString error; // the first failure's message, empty when none
    };
    using LoopStep = std::function<void(int index, ProgressSink* sink, const CancelFlag* cancel)>;

    void setupTrees();
    void loadFolderHistory();
    void saveFolderHistory() const;
    void fillLocalTree(const QVariantList& keep);
    void fillSharedTree();
    // Hides the rows the filter leaves out; returns the first row still shown.
    QTreeWidgetItem* applyFilter(QTreeWidget* tree);
    // Makes a row of the local tree current and the only one selected; null clears both.
    void makeCurrent(QTreeWidgetItem* item);
    void setSharedPaneVisible(bool visible);
    // Gives each list of the widened dialog the room its columns need.
    void splitBetweenLists();
    void updateButtons();
    QTreeWidget* activeTree() const;
    // The selected rows' keys (ids or file names) in the order the tree shows them.
    QVariantList selectedKeys(const QTreeWidget* tree) const;
    LoopOutcome runLoop(int count, const LoopStep& step);
    bool checkSharedFolder(const QString& folder, bool forWriting);
    bool exportStudies(const QVariantList& ids, const QString& folder);
    void deleteLocalStudies();
    void deleteSharedFiles();

    std::unique_ptr<Ui::OpenStudyDialog> m_ui;
    StudyRepository& m_repository;
    Desktop m_desktop;
    QTreeWidget* m_activeTree = nullptr; // the tree that had focus last
    bool m_sharedVisible = false;
    bool m_splitPending = false; // the widening is waited for before the lists are split
    qint32 m_selectedStudyId = 0;
};

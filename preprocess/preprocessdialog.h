#pragma once

#include "analysis/studyprocessor.h"
#include "store/progresssink.h"

#include <QByteArray>
#include <QDialog>
#include <QList>

#include <memory>

class DisplayFilterChain;
class FilteredSource;
class QSignalBrowseDisplay;
class Study;
class StudyRepository;

namespace Ui {
class PreprocessDialog;
}

// Runs before a study is processed: the user renames or inverts leads and cuts the recording,
// watching a filtered live view of the change, and chooses the beat types and the
// supraventricular rule of this run. "Save and continue" writes a new sample file when the
// signal changed; "Apply and process" goes on without writing anything. Either accepts, and the
// caller then reads options().
class PreprocessDialog : public QDialog
{
    Q_OBJECT
public:
    // `study` is open and not owned; the main window closes it when the dialog is rejected.
    PreprocessDialog(
        StudyRepository& repository, Study* study, bool afterDownload, QWidget* parent = nullptr);
    ~PreprocessDialog() override;

    ProcessingOptions options() const;
    // Opened right after a download rather than for a reprocess: the dialog then says that
    // closing it leaves the study unprocessed.
    bool afterDownload() const { return m_afterDownload; }

    // The live view, for the gallery and the tests.
    QSignalBrowseDisplay* view() const;

public slots:
    // While the signal is being saved this only asks the save to stop; the save then ends in
    // the error box and rejects the dialog.
    void reject() override;

private slots:
    void on_chkInvert1_toggled(bool checked);
    void on_chkInvert2_toggled(bool checked);
    void on_chkInvert3_toggled(bool checked);
    void on_cboLead1_currentTextChanged(const QString& text);
    void on_cboLead2_currentTextChanged(const QString& text);
    void on_cboLead3_currentTextChanged(const QString& text);
    void on_cboTrim_currentIndexChanged(int index);
    void on_rbtSVPBAuto_toggled(bool checked);
    void on_rbtSVPBUser_toggled(bool checked);
    void on_btnSave_clicked();
    void on_btnApply_clicked();

private:
    void fillLeadBoxes();
    void loadSettings();
    void setUserRuleEnabled(bool enabled);
    void renameChannel(int channel, const QString& text);
    // Rebuilds the inverted source and the view's filter chain, keeping the time position.
    void rebuildView();
    void dropView();
    int channelCount() const;
    QList<QByteArray> chosenNames() const;
    // Hours of the chosen trim entry; 0 for "<No change>".
    int trimHours() const;
    bool trimCuts() const;
    bool signalChanged() const;
    // Writes the changed signal; the error text, or empty on success.
    QString saveSignal();

    std::unique_ptr<Ui::PreprocessDialog> ui;
    StudyRepository& m_repository;
    Study* m_study; // not owned
    bool m_afterDownload;
    QList<QByteArray> m_presentNames; // the leads as they were when the dialog opened
    std::unique_ptr<FilteredSource> m_modifiedSource; // the study's source, inverted per box
    std::unique_ptr<DisplayFilterChain> m_viewChain; // over m_modifiedSource
    CancelFlag m_cancelled { false };
    bool m_saving = false;
};

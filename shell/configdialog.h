#pragma once

#include <QDialog>
#include <QPair>
#include <QString>
#include <QVariant>
#include <QVector>

#include <memory>

namespace Ui {
class ConfigDialog;
}
class QLineEdit;

// Edits the workstation's settings: the report header, the analysis limits, the classification
// defaults of a processing run and the two export folders. It loads every key it shows when it
// opens and writes them all, in a fixed order, when accepted; Cancel changes nothing.
class ConfigDialog : public QDialog
{
    Q_OBJECT

public:
    explicit ConfigDialog(QWidget* parent = nullptr);
    ~ConfigDialog() override;

    // Each key this dialog shows with the value of its control, in the order of writing.
    QVector<QPair<QString, QVariant>> settingsValues() const;
    // Shows the image of `path` as the logo; a file that doesn't load as an image gives a
    // warning and leaves the logo as it was.
    bool loadLogo(const QString& path);
    QString logoFile() const { return m_logoFile; }

private slots:
    void on_ConfigDialog_accepted();
    void on_listCategory_currentRowChanged(int currentRow);
    void on_btnSelectLogo_clicked();
    void on_btnRemoveLogo_clicked();
    void on_btnAnalysisDefaults_clicked();
    void on_rbtSVPBAuto_toggled(bool checked);
    void on_rbtSVPBUser_toggled(bool checked);
    void on_chkAutoExportReports_clicked();
    void on_chkAutoExportStudies_clicked();
    void on_btnExportReportFolder_clicked();
    void on_btnExportStudyFolder_clicked();

private:
    void loadSettings();
    // The five analysis controls from a reader of "pause/intervalSecs" and the other keys.
    template <typename Read> void setAnalysisControls(Read value);
    void showLogo(const QString& path);
    void updateSvpbControls();
    void updateFolderControls();
    void chooseFolder(QLineEdit* edit);

    std::unique_ptr<Ui::ConfigDialog> m_ui;
    QString m_logoFile;
};

#pragma once

#include "store/studyinfo.h"

#include <QDate>
#include <QDateTime>
#include <QDialog>
#include <QStringList>

#include <memory>

namespace Ui {
class StudyDialog;
}
class QComboBox;

// Edits the descriptive data of a study: patient, risk factors and study information, on three
// pages. It works on a copy of the study's StudyInfo; the caller takes info() back into the
// study when the dialog is accepted. The combo boxes keep their histories in the settings.
class StudyDialog : public QDialog
{
    Q_OBJECT

public:
    // `riskFactorNames` is the repository's list of factors, one row each, in its order.
    explicit StudyDialog(const QStringList& riskFactorNames, QWidget* parent = nullptr);
    ~StudyDialog() override;

    // "New Holter study" instead of "Study data" for a study that was just made.
    void setNewStudy(bool newStudy);
    void setInfo(const StudyInfo& info);
    // The info as given, with the dialog's fields once it was accepted.
    const StudyInfo& info() const { return m_info; }

    // A typed birth date, "d/M/yyyy" with a year of at least 1000 or else "d/M/yy"; invalid
    // when neither reads.
    static QDate parseBirthDate(const QString& text);
    // Whole years at `studyDate`, counting the birthday itself; 0 when not positive.
    static int ageAt(const QDate& birth, const QDate& studyDate);

public slots:
    // Refuses a birth date or a number that doesn't read, with a message, and stays open.
    void accept() override;

private slots:
    void on_listCategory_currentRowChanged(int currentRow);
    void on_txtWeight_textEdited(const QString& text);
    void on_txtHeight_textEdited(const QString& text);
    void on_txtBirthDate_textEdited(const QString& text);
    void on_txtAge_textEdited(const QString& text);
    void on_StudyDialog_accepted();

private:
    struct History
    {
        QComboBox* combo;
        const char* key;
    };

    void buildRiskFactorRows();
    void loadHistories();
    void saveHistories();
    void updateBmi();
    // The first problem of the typed values, ready to show; empty when all read.
    QString validationError() const;
    // The study date as stored text: unchanged unless the user moved the editor.
    QByteArray editedStudyDateTime() const;

    std::unique_ptr<Ui::StudyDialog> m_ui;
    QStringList m_riskFactorNames;
    QVector<History> m_histories;
    StudyInfo m_info;
    // What the date editor showed after setInfo, to tell an edit from a stored value that the
    // editor can't show exactly (seconds, or no date at all).
    QDateTime m_shownDateTime;
};

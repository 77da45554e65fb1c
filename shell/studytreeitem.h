#pragma once

#include "store/studyinfo.h"

#include <QString>
#include <QStringList>
#include <QTreeWidgetItem>

#include <vector>

// One row of the study browser's trees: a local study or an archive in a shared folder. The
// date column sorts by the stored "yyyyMMddHHmmss" text, not by the locale's display form.
class StudyTreeItem : public QTreeWidgetItem
{
public:
    // Columns of the local tree; the shared tree has the first four.
    enum Column { ColumnMark, ColumnPatient, ColumnType, ColumnDate, ColumnReport, ColumnEnd };
    // The item data that identifies the row: the study id, or the archive's file name.
    static constexpr int KeyRole = Qt::UserRole;

    // A local study; `reportText` is what the "Report" column shows for a reported study.
    static StudyTreeItem* forStudy(const StudyInfo& info, const QString& reportText);
    // An archive of a shared folder.
    static StudyTreeItem* forArchive(const QString& fileName, const StudyInfo& info);

    bool operator<(const QTreeWidgetItem& other) const override;
    // The date column is formatted when first shown: the locale's formatting costs more than
    // the rest of a row, and only the rows in view are ever shown.
    QVariant data(int column, int role) const override;

    // The text the filter looks in, case-folded once when the row is made.
    const QString& foldedPatient() const { return m_foldedPatient; }
    const QString& rawDate() const { return m_rawDate; }

private:
    StudyTreeItem(const QStringList& texts, const StudyInfo& info);

    QString m_foldedPatient;
    QString m_rawDate; // "yyyyMMddHHmmss"
    mutable QString m_dateText; // null until first shown
};

// "Last, First", as the lists show a patient.
QString patientText(const StudyInfo& info);
// The study date in the locale's short form; the stored text itself when it doesn't parse.
QString studyDateText(const QByteArray& studyDateTime);
// The study type in the user's language.
QString studyTypeText(const QByteArray& studyType);

// The words of a filter text: split at blanks, case-folded, empty parts dropped.
QStringList filterWords(const QString& text);
// True when every word occurs in the (case-folded) patient text; no words match everything.
bool matchesFilter(const QString& foldedPatient, const QStringList& words);

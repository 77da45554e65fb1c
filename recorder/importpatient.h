#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

struct StudyInfo;

// The identification an import takes, as the download form collects it. Text is kept as
// entered (UTF-8), not trimmed.
struct ImportPatient
{
    QByteArray lastName;
    QByteArray firstName;
    QByteArray idNumber;
    QByteArray historyNumber;
    QDateTime start; // start of the recording, local time

    // The form check: empty when complete, else the message naming what is missing.
    QString incompleteReason() const;
    // Fills the patient and date fields of a new study's info.
    void fillInfo(StudyInfo& info) const;
};

#include "recorder/importpatient.h"

#include "store/studyinfo.h"
#include "store/studystatus.h"

#include <QCoreApplication>
#include <QStringList>

QString ImportPatient::incompleteReason() const
{
    QStringList missing;
    if (QString::fromUtf8(lastName).trimmed().isEmpty())
        missing << QCoreApplication::translate("ImportPatient", "the last name");
    if (QString::fromUtf8(firstName).trimmed().isEmpty())
        missing << QCoreApplication::translate("ImportPatient", "the first name");
    if (!start.isValid() || start.date().year() <= 2000)
        missing << QCoreApplication::translate("ImportPatient",
                                               "a valid date after the year 2000");
    if (missing.isEmpty())
        return QString();
    return QCoreApplication::translate("ImportPatient", "The study needs %1.")
        .arg(missing.join(QCoreApplication::translate("ImportPatient", ", ")));
}

void ImportPatient::fillInfo(StudyInfo& info) const
{
    info.status = StudyStatus::Downloaded;
    info.studyType = "Holter";
    info.studyDateTime = start.toString("yyyyMMddHHmmss").toLatin1();
    info.recordingDateTime = info.studyDateTime;
    info.patientLastName = lastName;
    info.patientFirstName = firstName;
    info.patientPersonIdNumber = idNumber;
    info.patientMedicalHistoryNumber = historyNumber;
}

#pragma once

#include "benchcard.h"
#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "store/studyrepository.h"

#include <QDate>
#include <QDateTime>
#include <QTime>

namespace bench {

// The simulated card of `hours` in `card` (made when missing) imported as a new study of
// `repo`; returns its id.
inline int importSimulatedDay(StudyRepository& repo, const QString& card, double hours)
{
    ensureSimulatedCard(card, hours);
    CardImportOptions import;
    import.patient.lastName = "Bench";
    import.patient.firstName = "Day";
    import.patient.start = QDateTime(QDate(2026, 1, 15), QTime(9, 0));
    const QString file = CardSignalFile::dataFilePath(card);
    return importCard(repo, file, CardSignalFile::findDataOffset(file), import);
}

} // namespace bench

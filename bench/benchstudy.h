#pragma once

#include "benchcard.h"
#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "store/studyrepository.h"

#include <cstdio>
#include <memory>

#include <QDate>
#include <QDateTime>
#include <QTemporaryDir>
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

// The day benchmarks' command line, "[hours [card-folder]]", and their temporary folder: fills
// `hours` and `card` (a card in the folder unless one is given). Returns 0 to go on, else the
// exit status after saying why.
inline int startDay(int argc, char** argv, const char* program, const QTemporaryDir& temp,
    double& hours, QString& card)
{
    hours = 24.0;
    if (argc > 1 && (hours = QString(argv[1]).toDouble()) <= 0.0) {
        std::fprintf(stderr, "usage: %s [hours [card-folder]]\n", program);
        return 2;
    }
    if (!temp.isValid()) {
        std::fprintf(stderr, "cannot create a temporary folder\n");
        return 1;
    }
    card = argc > 2 ? QString(argv[2]) : temp.filePath("card");
    return 0;
}

// A store of its own under `root`.
inline std::unique_ptr<StudyRepository> openStore(const QString& root)
{
    StudyRepository::Options options;
    options.rootOverride = root;
    return std::make_unique<StudyRepository>("VeltronaHolter", options);
}

} // namespace bench

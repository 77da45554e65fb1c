// A study archive: its listing information, then a whole import into a scratch store. What
// comes in is deleted again so that the store stays small over millions of runs.
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "store/studyinfo.h"
#include "store/studyrepository.h"

namespace {

void importArchive(const QByteArray& input)
{
    StudyRepository& repo = fuzzsupport::repository();
    const QString path = fuzzsupport::writeScratch("fuzz.vtz", input);
    StudyInfo info;
    if (!repo.readArchiveInfo(path, info))
        return;
    int id = -1;
    try {
        id = repo.importStudy(path, nullptr, nullptr);
    } catch (...) {
        for (const StudyInfo& s : repo.listStudies())
            repo.deleteStudy(s.id);
        throw;
    }
    if (Study* study = repo.openStudy(id)) {
        repo.studyInfo(study);
        repo.closeStudy(study);
    }
    repo.deleteStudy(id);
}

} // namespace

void fuzzreaders::vtz(const QByteArray& input)
{
    importArchive(input);
}

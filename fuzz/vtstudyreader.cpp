// The study document, loaded beside a short well-formed ECG, then written back to bytes so that
// whatever the reader accepted is also something the writer can hold.
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "store/ecgfile.h"
#include "store/study.h"
#include "store/studyfile.h"
#include "store/studyinfo.h"
#include "store/studyrepository.h"

#include <QDir>

#include <vector>

namespace {

void makeSignalOnce()
{
    static const bool made = [] {
        QDir().mkpath(fuzzsupport::scratchPath("study"));
        EcgFile ecg(
            fuzzsupport::scratchPath("study/fuzz.vtecg"), 2, 250, EcgFile::kHeaderSize, true);
        std::vector<qint16> samples(500, 12);
        const qint16* channels[2] = { samples.data(), samples.data() };
        ecg.writeHeader(QJsonObject(), QJsonObject());
        ecg.appendChannels(channels, qint64(samples.size()));
        return true;
    }();
    (void)made;
}

void readStudy(const QByteArray& input)
{
    makeSignalOnce();
    StudyRepository& repo = fuzzsupport::repository();
    const QString path = fuzzsupport::writeScratch("study/fuzz.vtstudy", input);
    std::unique_ptr<Study> study = repo.loadStudyFile(path);
    if (!study)
        return;
    const StudyInfo info = repo.studyInfo(study.get());
    studyInfoToJson(info);
    encodeStudyDocument(*study);
}

} // namespace

void fuzzreaders::vtstudy(const QByteArray& input)
{
    readStudy(input);
}

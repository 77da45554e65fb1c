#pragma once

#include "store/progresssink.h"

#include <QByteArray>
#include <QList>
#include <QtGlobal>

#include <functional>

class SignalSource;
class Study;
class StudyRepository;

// A change of a study's samples before processing: new lead names and a cut to a length.
// Inversion is not listed here: it is already in the source that is written.
struct SignalRewrite
{
    QList<QByteArray> channelNames; // one per channel; fewer leave the rest as they are
    int trimHours = 0; // 0 keeps the whole recording
};

// Samples per channel that a cut to `hours` keeps of `sampleCount` samples at `rate` Hz: the
// whole recording when `hours` is 0 or the recording is not longer than that.
qint64 trimmedSampleCount(qint64 sampleCount, int rate, int hours);
// True when a cut to `hours` would drop samples of `source`.
bool trimCutsRecording(const SignalSource& source, int hours);

// Writes `modified` (a view of the study's own source with the user's changes applied: same
// channels, rate, scale and block length) into the new sample file "<base>-temp", block by
// block, cut to `rewrite.trimHours`, and puts it in place of the study's sample file. The study
// stays open: its sample and beat files are reopened on the new samples.
//
// `releaseModified` runs once the new file is complete and closed, before the study's source is
// closed: whoever holds `modified` or anything else over the study's source lets go of it there.
//
// Any failure or a cancel while the new file is written (`cancel` is polled after each block)
// removes the new file and throws StoreError("Could not complete operation.\nPlease check
// available disk space."); the study's own sample file stays as it was. `progress` counts blocks.
void rewriteStudySignal(StudyRepository& repository, Study& study, SignalSource& modified,
    const SignalRewrite& rewrite, ProgressSink* progress = nullptr,
    const CancelFlag* cancel = nullptr, const std::function<void()>& releaseModified = {});

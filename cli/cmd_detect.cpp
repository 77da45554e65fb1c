#include "analysis/resampledsource.h"
#include "analysis/waveletbank.h"
#include "analysis/waveletbeatdetector.h"
#include "cli/args.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "store/beatlist.h"
#include "store/study.h"

#include <memory>
#include <stdexcept>

// Beat detection alone over a stored study: the beats file is rewritten with the detector's
// beats and noise entries (type U, no class), as the first stage of processing would leave it.
// An interrupt leaves the beat store empty, as a cancelled processing run does.
int runDetect(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, {}, {});
    args.expectPositionals(1, 1, "study ID");
    const int id = parseStudyId(args.positionals()[0]);
    OpenedStudy study(ctx, id);
    BeatList* list = study->beats();
    const CancelFlag* cancel = interruptFlag();
    list->clear();
    {
        ResampledSource source(study->signal(), 250);
        WaveletBank bank(&source);
        WaveletBeatDetector detector(&bank, list);
        detector.init(&source, 0.0, 0.0, -1);
        const double duration = double(source.sampleCount()) / source.samplingRate();
        while (detector.currentTime() < duration) {
            detector.processBlock();
            ctx.progress("Beat detection", int(detector.currentTime() * 100.0 / duration));
            if (cancel->load()) {
                ctx.endProgress();
                list->clear();
                throw std::runtime_error("interrupted; the study's beats were cleared");
            }
        }
        detector.finish();
    }
    ctx.endProgress();
    int beats = 0, noise = 0;
    Beat beat;
    for (int i = 0; i < list->count(); ++i)
        if (list->get(i, beat))
            (beat.isBeat ? beats : noise) += 1;
    study.save();
    ctx.out() << "detected " << beats << " beats and " << noise << " noise entries in study " << id
              << '\n';
    return 0;
}

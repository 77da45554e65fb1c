#pragma once

#include "analysis/studyprocessor.h"

#include <functional>
#include <memory>
#include <optional>

class QWidget;
class Study;
class StudyRepository;

// The dialogs the launcher runs on its way from a card to a processed study. The real ones
// come from makeLauncherDialogs(); tests of the launcher's own rules put simpler ones in.
class LauncherDialogs
{
public:
    virtual ~LauncherDialogs() = default;

    // Runs the download dialog modally; `downloaded` runs for the study it made, if any.
    virtual void download(QWidget* parent, StudyRepository& repository,
        const std::function<void(int studyId)>& downloaded)
        = 0;
    // Runs the preprocessing dialog modally on an open study; the options of the run when it
    // was accepted, nothing when the user backed out.
    virtual std::optional<ProcessingOptions> preprocess(
        QWidget* parent, StudyRepository& repository, Study* study, bool afterDownload)
        = 0;
    // Runs the study browser modally; the study to open, nothing when the user backed out.
    virtual std::optional<int> chooseStudy(QWidget* parent, StudyRepository& repository) = 0;
    // Runs the settings dialog modally.
    virtual void configure(QWidget* parent) = 0;
};

class RemovableVolumes;
// Where the download looks for cards: the system's removable volumes unless `volumes` makes
// another list (tests put a folder there).
using VolumesFactory = std::function<std::unique_ptr<RemovableVolumes>()>;

std::unique_ptr<LauncherDialogs> makeLauncherDialogs(VolumesFactory volumes = {});

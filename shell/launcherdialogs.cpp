#include "shell/launcherdialogs.h"
namespace {
class NoDialogs : public LauncherDialogs
{
public:
    void download(QWidget*, StudyRepository&, const std::function<void(int)>&) override {}
    std::optional<ProcessingOptions> preprocess(QWidget*, StudyRepository&, Study*, bool) override
    {
        return ProcessingOptions();
    }
};
}
std::unique_ptr<LauncherDialogs> makeLauncherDialogs() { return std::make_unique<NoDialogs>(); }

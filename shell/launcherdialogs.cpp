#include "shell/launcherdialogs.h"

#include "preprocess/preprocessdialog.h"
#include "recorder/downloaddialog.h"
#include "shell/configdialog.h"
#include "shell/openstudydialog.h"

#include <QObject>

namespace {

class WorkstationDialogs : public LauncherDialogs
{
public:
    explicit WorkstationDialogs(VolumesFactory volumes)
        : m_volumes(std::move(volumes))
    {
    }

    void download(QWidget* parent, StudyRepository& repository,
        const std::function<void(int)>& downloaded) override
    {
        DownloadDialog dialog(repository, parent, m_volumes ? m_volumes() : nullptr);
        QObject::connect(&dialog, &DownloadDialog::downloaded, &dialog, downloaded);
        dialog.exec();
    }

    std::optional<ProcessingOptions> preprocess(
        QWidget* parent, StudyRepository& repository, Study* study, bool afterDownload) override
    {
        PreprocessDialog dialog(repository, study, afterDownload, parent);
        if (dialog.exec() != QDialog::Accepted)
            return std::nullopt;
        return dialog.options();
    }

    std::optional<int> chooseStudy(QWidget* parent, StudyRepository& repository) override
    {
        OpenStudyDialog dialog(repository, parent);
        // A deleted study needs nothing from the launcher.
        QObject::connect(&dialog, &OpenStudyDialog::deletedStudy, &dialog, [](int) {});
        if (dialog.exec() != QDialog::Accepted)
            return std::nullopt;
        return dialog.selectedStudyId();
    }

    void configure(QWidget* parent) override
    {
        ConfigDialog dialog(parent);
        dialog.exec();
    }

private:
    VolumesFactory m_volumes;
};

} // namespace

std::unique_ptr<LauncherDialogs> makeLauncherDialogs(VolumesFactory volumes)
{
    return std::make_unique<WorkstationDialogs>(std::move(volumes));
}

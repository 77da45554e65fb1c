#pragma once

#include "workflow/settingskeys.h"

#include <QString>

class QSettings;

// The maker's uploader: a separate program that sends a folder of study archives and guards
// itself with a shared-memory key. Only Windows has it; elsewhere its command is configured.
namespace Uploader {

// The program that sends the folder, as a path (string). Default: on Windows
// "VeltronaUploader.exe" beside the application, elsewhere empty, i.e. no uploader.
inline constexpr const char* CommandSetting = SettingsKeys::UploaderCommand;
// The key the running uploader holds.
inline constexpr char SharedMemoryKey[] = "Veltrona Uploader";

QString defaultCommand();
// The configured program, or the default when the setting is absent.
QString command(const QSettings& settings);
// True while the uploader runs: its shared memory can't be created by anyone else.
bool isRunning();

} // namespace Uploader

#include "shell/uploader.h"

#include <QCoreApplication>
#include <QSettings>
#include <QSharedMemory>

namespace Uploader {

QString defaultCommand()
{
#ifdef Q_OS_WIN
    return QString("%1/VeltronaUploader.exe").arg(QCoreApplication::applicationDirPath());
#else
    return QString();
#endif
}

QString command(const QSettings& settings)
{
    return settings.value(CommandSetting, defaultCommand()).toString().trimmed();
}

bool isRunning()
{
    QSharedMemory guard(SharedMemoryKey);
    if (!guard.create(256, QSharedMemory::ReadWrite))
        return guard.error() == QSharedMemory::AlreadyExists;
    guard.detach();
    return false;
}

} // namespace Uploader

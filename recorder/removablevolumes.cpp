#include "recorder/removablevolumes.h"

#include "recorder/cardsignalfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStorageInfo>

namespace {

// The name rule: "sdb1" -> "sdb", "mmcblk0p1" -> "mmcblk0", "nvme0n1p2" -> "nvme0n1". Disks
// whose own names end in a number ("mmcblk0", "nvme0n1", "loop3") number their partitions
// after a "p".
QString diskByName(const QString& name)
{
    static const QRegularExpression numberedPartition(
        QStringLiteral("^((?:mmcblk|loop|nbd|md)\\d+|nvme\\d+n\\d+)p\\d+$"));
    static const QRegularExpression numberedDisk(
        QStringLiteral("^(?:(?:mmcblk|loop|nbd|md|sr|zram|ram)\\d+|nvme\\d+n\\d+)$"));
    static const QRegularExpression lettered(QStringLiteral("^([a-z]+[a-z])\\d+$"));
    QRegularExpressionMatch m = numberedPartition.match(name);
    if (m.hasMatch())
        return m.captured(1);
    if (numberedDisk.match(name).hasMatch())
        return name;
    m = lettered.match(name);
    return m.hasMatch() ? m.captured(1) : name;
}

} // namespace

SystemRemovableVolumes::SystemRemovableVolumes(const QString& sysfsRoot)
    : m_sysfsRoot(sysfsRoot)
{
}

QStringList SystemRemovableVolumes::roots() const
{
    QList<Mount> mounts;
    const QList<QStorageInfo> volumes = QStorageInfo::mountedVolumes();
    for (const QStorageInfo& v : volumes) {
        if (!v.isValid())
            continue;
        mounts.append(Mount { v.rootPath(), v.device(), v.isReady() });
    }
    return rootsOf(mounts);
}

QStringList SystemRemovableVolumes::rootsOf(const QList<Mount>& mounts) const
{
    QStringList roots;
    for (const Mount& m : mounts) {
        if (!m.ready || m.root.isEmpty())
            continue;
        if (isMediaFolder(m.root) || isRemovableDevice(m.device))
            roots.append(m.root);
    }
    return roots;
}

QString SystemRemovableVolumes::diskOf(const QString& deviceName) const
{
    const QDir block(m_sysfsRoot + QStringLiteral("/block"));
    if (deviceName.isEmpty() || block.exists(deviceName))
        return deviceName;
    // Partitions are folders inside their disk's folder.
    const QStringList disks = block.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& disk : disks)
        if (QFileInfo(block.filePath(disk + QLatin1Char('/') + deviceName)).isDir())
            return disk;
    return diskByName(deviceName);
}

bool SystemRemovableVolumes::isRemovableDevice(const QByteArray& device) const
{
    if (!device.startsWith("/dev/"))
        return false; // tmpfs, proc, network shares
    QString path = QFile::decodeName(device);
    // "/dev/disk/by-label/CARD" and the like name the device through a link.
    const QString resolved = QFileInfo(path).canonicalFilePath();
    if (!resolved.isEmpty())
        path = resolved;
    const QString disk = diskOf(QFileInfo(path).fileName());
    QFile flag(m_sysfsRoot + QStringLiteral("/block/") + disk + QStringLiteral("/removable"));
    if (!flag.open(QIODevice::ReadOnly))
        return false;
    return flag.read(8).trimmed() == "1";
}

bool SystemRemovableVolumes::isMediaFolder(const QString& root)
{
    return root.startsWith(QLatin1String("/media/"))
        || root.startsWith(QLatin1String("/run/media/"));
}

QString findCardFolder(const RemovableVolumes& volumes)
{
    QString folder;
    const QStringList roots = volumes.roots();
    for (const QString& root : roots)
        if (QFileInfo(CardSignalFile::dataFilePath(root)).isFile())
            folder = root;
    return folder;
}

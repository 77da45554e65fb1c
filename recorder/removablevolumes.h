#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// Where a memory card may be: the root folders of the volumes a card reader could show up as.
class RemovableVolumes
{
public:
    virtual ~RemovableVolumes() = default;
    virtual QStringList roots() const = 0;
};

// The system's mounted, ready volumes that sit on a disk the kernel calls removable, or that
// the desktop mounted in its media folders (card readers inside a laptop often claim to be
// fixed disks, but the desktop still mounts their cards there).
class SystemRemovableVolumes : public RemovableVolumes
{
public:
    struct Mount
    {
        QString root;
        QByteArray device; // "/dev/sdb1"; may be a link, or no device node at all
        bool ready = true;
    };

    // `sysfsRoot` is where the kernel's block devices are described ("/sys"); tests give a
    // folder of their own.
    explicit SystemRemovableVolumes(const QString& sysfsRoot = QStringLiteral("/sys"));

    QStringList roots() const override;
    // The rule applied to a list of mounts, in their order.
    QStringList rootsOf(const QList<Mount>& mounts) const;

    // The whole disk a block device belongs to: "sdb1" -> "sdb", "mmcblk0p1" -> "mmcblk0",
    // "sdb" -> "sdb". The kernel's own tree decides where it has the device; the name rule
    // serves where it has not.
    QString diskOf(const QString& deviceName) const;
    // True when the kernel reports the device's disk as removable.
    bool isRemovableDevice(const QByteArray& device) const;
    // True for folders under "/media/" and "/run/media/".
    static bool isMediaFolder(const QString& root);

private:
    QString m_sysfsRoot;
};

// Folders standing in for mounted cards, in a fixed order (tools and tests).
class FolderVolumes : public RemovableVolumes
{
public:
    explicit FolderVolumes(QStringList roots)
        : m_roots(std::move(roots))
    {
    }
    QStringList roots() const override { return m_roots; }

private:
    QStringList m_roots;
};

// The folder of the card to download: a volume holding "HECG.VTF" in its root; when several
// do, the last one wins. Empty when none does.
QString findCardFolder(const RemovableVolumes& volumes);

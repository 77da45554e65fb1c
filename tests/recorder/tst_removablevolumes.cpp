#include "recorder/removablevolumes.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace rectest;

namespace {

// A kernel tree with partitions inside their disks' folders, as /sys/block shows them.
struct FakeSysfs
{
    testsupport::TempRoot root;

    FakeSysfs()
    {
        disk("sda", "0", { "sda1", "sda2" });
        disk("sdb", "1", { "sdb1" });
        disk("mmcblk0", "1", { "mmcblk0p1" });
        disk("nvme0n1", "0", { "nvme0n1p2" });
    }
    void disk(const QString& name, const QByteArray& removable, const QStringList& partitions)
    {
        QDir dir(root.path());
        for (const QString& p : partitions)
            ASSERT_TRUE(dir.mkpath("block/" + name + "/" + p));
        testsupport::writeAll(root.file("block/" + name + "/removable"), removable + "\n");
    }
};

} // namespace

TEST(RemovableVolumes, DevicesFollowTheirPartitionsToTheDisk)
{
    FakeSysfs sys;
    const SystemRemovableVolumes volumes(sys.root.path());
    // The first rows are in the fake tree; the rest only the name rule can answer.
    const std::pair<const char*, const char*> rows[] = { { "sdb1", "sdb" }, { "sdb", "sdb" },
        { "mmcblk0p1", "mmcblk0" }, { "mmcblk0", "mmcblk0" }, { "nvme0n1p2", "nvme0n1" },
        { "sdc3", "sdc" }, { "mmcblk1p2", "mmcblk1" }, { "mmcblk1", "mmcblk1" },
        { "nvme1n1p10", "nvme1n1" }, { "loop7", "loop7" }, { "sr0", "sr0" } };
    for (const auto& [device, disk] : rows)
        EXPECT_EQ(volumes.diskOf(device), QString(disk)) << device;
}

TEST(RemovableVolumes, RemovableDisksAndMediaFoldersAreCandidates)
{
    FakeSysfs sys;
    const SystemRemovableVolumes volumes(sys.root.path());
    using Mount = SystemRemovableVolumes::Mount;
    const QList<Mount> mounts = {
        { "/", "/dev/sda2", true }, // fixed disk
        { "/mnt/card", "/dev/sdb1", true }, // removable disk anywhere
        { "/mnt/reader", "/dev/mmcblk0p1", true },
        { "/mnt/pulled", "/dev/sdb1", false }, // not ready
        { "/media/ana/CARD", "/dev/sdz1", true }, // unknown to the kernel tree, desktop media
        { "/run/media/ana/SD", "/dev/nvme0n1p2", true }, // fixed, but mounted as media
        { "/mediation", "/dev/sda1", true }, // only looks like a media folder
        { "/proc", "proc", true },
    };
    EXPECT_EQ(volumes.rootsOf(mounts),
        QStringList({ "/mnt/card", "/mnt/reader", "/media/ana/CARD", "/run/media/ana/SD" }));
}

TEST(RemovableVolumes, TheLastVolumeHoldingTheCardFileWins)
{
    testsupport::TempRoot a, b, c;
    auto roots = std::make_shared<QStringList>(QStringList { a.path(), b.path(), c.path() });
    const FixedVolumes volumes(roots);
    EXPECT_EQ(findCardFolder(volumes), QString());
    writeCard(a, cardBlocks(1));
    writeCard(b, cardBlocks(1), "hecg.vtf"); // card file systems may show lower case
    testsupport::writeAll(c.file("HECG.INF"), "x"); // the companion alone is no card
    EXPECT_EQ(findCardFolder(volumes), b.path());
    QDir(c.path()).mkdir("HECG.VTF"); // nor is a folder of that name
    EXPECT_EQ(findCardFolder(volumes), b.path());
}

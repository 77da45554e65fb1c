#include "cli/args.h"
#include "cli/processingoptions.h"
#include "cli/reportcommand.h"
#include "store/beat.h"
#include "tests/support/testsupport.h"
#include "workflow/settingskeys.h"

#include <QImage>
#include <QSettings>

#include <gtest/gtest.h>

namespace K = SettingsKeys;

namespace {

struct Settings
{
    Settings() : s(dir.file("s.ini"), QSettings::IniFormat) {}
    testsupport::TempRoot dir;
    QSettings s;
};

// The classification settings are the defaults of a processing run; each option replaces its
// part of them.
TEST(CliSettings, ProcessingOptionsStartFromTheSettings)
{
    const struct
    {
        const char* name;
        QStringList args;
        bool settingsUserRule; // the settings exclude V and S and choose 30 % with compensatory
        QString excluded; // of U N V F S
        bool userRule;
        double ratio;
        bool compensatory;
    } cases[] = {
        { "no settings, no options", {}, false, "-----", false, 0.8, false },
        { "settings alone", {}, true, "--V-S", true, 0.7, true },
        { "--exclude replaces", { "--exclude", "f" }, true, "---F-", true, 0.7, true },
        { "--exclude none", { "--exclude", "none" }, true, "-----", true, 0.7, true },
        { "--svpb-auto", { "--svpb-auto" }, true, "--V-S", false, 0.8, false },
        { "--svpb-prematurity keeps the rest of the rule out", { "--svpb-prematurity", "25" },
            true, "--V-S", true, 0.75, false },
        { "--svpb-compensatory takes the settings' percentage", { "--svpb-compensatory" }, true,
            "--V-S", true, 0.7, true },
        { "--svpb-compensatory without settings", { "--svpb-compensatory" }, false, "-----", true,
            0.8, true },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Settings settings;
        if (c.settingsUserRule) {
            settings.s.setValue(K::AllowTypeV, "false");
            settings.s.setValue(K::AllowTypeS, false);
            settings.s.setValue(K::SVPBUserDefined, "true");
            settings.s.setValue(K::SVPBPrematurityPct, "30");
            settings.s.setValue(K::SVPBCompensatory, true);
        }
        const Args args(c.args, kProcessValueOptions, kProcessFlags);
        const ProcessingOptions o = processingOptions(args, settings.s);
        QString excluded;
        for (int type = 0; type < 5; ++type)
            excluded += o.excludeType[type] ? QString("UNVFS")[type] : QChar('-');
        EXPECT_EQ(excluded, c.excluded);
        EXPECT_EQ(o.svpbUserDefined, c.userRule);
        if (c.userRule) {
            EXPECT_NEAR(o.svpbPrematurityRatio, c.ratio, 1e-9);
        }
        EXPECT_EQ(o.svpbCompensatory, c.compensatory);
    }
    Settings none;
    for (const QStringList& nonsense : { QStringList { "--exclude", "N" },
             QStringList { "--exclude", "V,," }, QStringList { "--svpb-auto", "--svpb-compensatory" } })
        EXPECT_THROW(processingOptions(Args(nonsense, kProcessValueOptions, kProcessFlags), none.s),
            UsageError)
            << nonsense.join(' ').toStdString();
}

// The report header comes from the settings unless the command line gives it; a configured
// logo that went missing is left out with a warning, a missing --logo is an error.
TEST(CliSettings, ReportHeaderDefaultsToTheSettings)
{
    Settings settings;
    const QString logo = settings.dir.file("logo.png");
    QImage(20, 10, QImage::Format_RGB32).save(logo);
    settings.s.setValue(K::HeaderTitle, "Clínica Sur");
    settings.s.setValue(K::HeaderInfo, "Tel. 555");
    settings.s.setValue(K::HeaderLogoFilename, logo);
    const QStringList valueOptions = { "title", "info", "logo" };

    QString warning;
    ReportOptions o = reportOptions(Args({}, valueOptions, {}), settings.s, &warning);
    EXPECT_EQ(o.title, "Clínica Sur");
    EXPECT_EQ(o.info, "Tel. 555");
    EXPECT_EQ(o.logoFile, logo);
    EXPECT_EQ(warning, "");

    o = reportOptions(
        Args({ "--title", "Otro", "--info", "", "--logo", "" }, valueOptions, {}), settings.s);
    EXPECT_EQ(o.title, "Otro");
    EXPECT_EQ(o.info, "");
    EXPECT_EQ(o.logoFile, "");

    settings.s.setValue(K::HeaderLogoFilename, settings.dir.file("gone.png"));
    o = reportOptions(Args({}, valueOptions, {}), settings.s, &warning);
    EXPECT_EQ(o.logoFile, "");
    EXPECT_EQ(warning, "Logo image could not be loaded from file: " + settings.dir.file("gone.png"));
    EXPECT_EQ(testsupport::errorOf([&] {
        reportOptions(Args({ "--logo", settings.dir.file("gone.png") }, valueOptions, {}),
            settings.s);
    }),
        "Logo image could not be loaded from file: " + settings.dir.file("gone.png").toStdString());
}

} // namespace

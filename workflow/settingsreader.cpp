#include "workflow/settingsreader.h"

#include "results/analysisparams.h"
#include "store/beat.h"
#include "workflow/reportoptions.h"
#include "workflow/settingskeys.h"

#include <QSettings>

#include <cmath>
#include <string_view>

namespace {

// The analysis keys of the settings are the parameters' own keys under one prefix; the
// results read them through AnalysisParams, so the two spellings must agree.
constexpr bool isAnalysisKey(std::string_view full, std::string_view parameter)
{
    const std::string_view prefix(SettingsKeys::AnalysisPrefix);
    return full.substr(0, prefix.size()) == prefix && full.substr(prefix.size()) == parameter;
}
static_assert(isAnalysisKey(SettingsKeys::PauseIntervalSecs, AnalysisParams::kSettingKeys[0]));
static_assert(isAnalysisKey(SettingsKeys::TachycardiaBPMLimit, AnalysisParams::kSettingKeys[1]));
static_assert(isAnalysisKey(SettingsKeys::BradycardiaBPMLimit, AnalysisParams::kSettingKeys[2]));
static_assert(
    isAnalysisKey(SettingsKeys::ArrhythmiaMinDurationSecs, AnalysisParams::kSettingKeys[3]));
static_assert(isAnalysisKey(SettingsKeys::QTCorrectionFormulaId, AnalysisParams::kSettingKeys[4]));

} // namespace

namespace SettingsReader {

bool boolValue(const QSettings& settings, const char* key, bool fallback)
{
    const QVariant v = settings.value(key);
    switch (v.userType()) {
    case QMetaType::Bool:
        return v.toBool();
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return v.toLongLong() == 0 ? false : v.toLongLong() == 1 ? true : fallback;
    case QMetaType::QString:
    case QMetaType::QByteArray: {
        const QString text = v.toString().trimmed().toLower();
        if (text == "true" || text == "1")
            return true;
        if (text == "false" || text == "0")
            return false;
        return fallback;
    }
    default:
        return fallback;
    }
}

double doubleValue(const QSettings& settings, const char* key, double fallback)
{
    const QVariant v = settings.value(key);
    if (!v.isValid() || v.userType() == QMetaType::Bool || v.userType() == QMetaType::QStringList)
        return fallback;
    bool ok = false;
    const double d = v.toDouble(&ok);
    return ok && std::isfinite(d) ? d : fallback;
}

int intValue(const QSettings& settings, const char* key, int fallback, int min, int max)
{
    const double d = doubleValue(settings, key, fallback);
    return d >= min && d <= max ? int(d) : fallback;
}

QString stringValue(const QSettings& settings, const char* key)
{
    const QVariant v = settings.value(key);
    if (v.userType() == QMetaType::QStringList)
        return v.toStringList().join(", ");
    return v.canConvert<QString>() ? v.toString() : QString();
}

QStringList stringListValue(const QSettings& settings, const char* key)
{
    const QVariant v = settings.value(key);
    if (v.userType() == QMetaType::QStringList)
        return v.toStringList();
    if (v.userType() == QMetaType::QVariantList) {
        QStringList list;
        for (const QVariant& item : v.toList())
            if (item.canConvert<QString>())
                list << item.toString();
        return list;
    }
    // A single text is a list of one; anything else (a map, a picture) is no list.
    if (v.userType() == QMetaType::QString && !v.toString().isEmpty())
        return { v.toString() };
    return {};
}

} // namespace SettingsReader

ProcessingOptions processingOptionsFromSettings(const QSettings& settings)
{
    using namespace SettingsKeys;
    ProcessingOptions options;
    options.literalRules = SettingsReader::boolValue(settings, LiteralRules, false);
    options.excludeType[BeatV] = !SettingsReader::boolValue(settings, AllowTypeV, true);
    options.excludeType[BeatF] = !SettingsReader::boolValue(settings, AllowTypeF, true);
    options.excludeType[BeatS] = !SettingsReader::boolValue(settings, AllowTypeS, true);
    options.excludeType[BeatU] = !SettingsReader::boolValue(settings, AllowTypeU, true);
    if (SettingsReader::boolValue(settings, SVPBUserDefined, false)) {
        options.svpbUserDefined = true;
        const int pct = SettingsReader::intValue(
            settings, SVPBPrematurityPct, kDefaultSVPBPrematurityPct, 0, 100);
        options.svpbPrematurityRatio = prematurityRatioOfPercent(pct);
        options.svpbCompensatory = SettingsReader::boolValue(settings, SVPBCompensatory, false);
    }
    return options;
}

void applyReportHeaderSettings(ReportOptions& options, const QSettings& settings)
{
    options.title = SettingsReader::stringValue(settings, SettingsKeys::HeaderTitle);
    options.info = SettingsReader::stringValue(settings, SettingsKeys::HeaderInfo);
    options.logoFile = SettingsReader::stringValue(settings, SettingsKeys::HeaderLogoFilename);
}

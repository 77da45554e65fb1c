#include "results/analysisparams.h"

#include <QSettings>

#include <cmath>

const std::map<QByteArray, double>& AnalysisParams::defaults()
{
    static const std::map<QByteArray, double> table = {
        {"ST/depressionThresholdMM", 1.0},       {"ST/elevationThresholdMM", 1.0},
        {"pause/intervalSecs", 2.0},             {"arrhythmia/tachycardiaBPMLimit", 120.0},
        {"arrhythmia/bradycardiaBPMLimit", 40.0}, {"arrhythmia/minDurationSecs", 5.0},
        {"QT/correctionFormulaId", 0.0},         {"rules/literal", 0.0}};
    return table;
}

double AnalysisParams::value(const QByteArray& key) const
{
    const auto it = m_values.find(key);
    if (it != m_values.end())
        return it->second;
    const auto d = defaults().find(key);
    return d != defaults().end() ? d->second : 0.0;
}

void AnalysisParams::readSettings(const QSettings& settings)
{
    for (const char* key : kSettingKeys) {
        const QVariant v = settings.value(QString("Config/Analysis/%1").arg(key));
        bool ok = false;
        const double d = v.toDouble(&ok);
        if (v.isValid() && ok && std::isfinite(d))
            m_values[key] = d;
    }
    // The same setting that keeps processing to the literal type rules.
    m_values["rules/literal"]
        = settings.value(QStringLiteral("Analysis/LiteralRules"), false).toBool() ? 1.0 : 0.0;
}

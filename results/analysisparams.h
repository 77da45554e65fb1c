#pragma once

#include <QByteArray>

#include <map>

class QSettings;

// Analysis limits by key ("pause/intervalSecs"), falling back to compiled-in defaults; a key
// neither set nor known reads 0.0.
class AnalysisParams
{
public:
    double value(const QByteArray& key) const;
    void setValue(const QByteArray& key, double value) { m_values[key] = value; }
    // Reads the five user-settable limits from "Config/Analysis/<key>"; an absent, non-numeric
    // or non-finite setting keeps the default. The ST thresholds are not user settings.
    // "rules/literal" (1 or 0) follows the setting "Analysis/LiteralRules".
    void readSettings(const QSettings& settings);

    static const std::map<QByteArray, double>& defaults();
    // The user-settable keys, in the order of the configuration dialog.
    static constexpr const char* kSettingKeys[5] = { "pause/intervalSecs",
        "arrhythmia/tachycardiaBPMLimit", "arrhythmia/bradycardiaBPMLimit",
        "arrhythmia/minDurationSecs", "QT/correctionFormulaId" };

private:
    std::map<QByteArray, double> m_values;
};

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
    // Reads the five user-settable limits from "Config/Analysis/<key>"; an absent or
    // non-numeric setting keeps the default. The ST thresholds are not user settings.
    // "rules/literal" (1 or 0) follows the setting "Analysis/LiteralRules".
    void readSettings(const QSettings& settings);

    static const std::map<QByteArray, double>& defaults();
    static const char* const kSettingKeys[5];

private:
    std::map<QByteArray, double> m_values;
};

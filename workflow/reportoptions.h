#pragma once

#include <QString>

class THolterReport;

// What the user chooses for a report, as the report dialog offers it; the defaults are the
// dialog's first use.
struct ReportOptions
{
    bool trendsAndTable = true;
    bool extraTrends = true;
    bool hrv = true;
    double amplitude = 10.0; // mm per mV: 5, 10 or 20
    QString rhythmLead = QStringLiteral("II");
    bool rhythmLeadGiven = false; // an absent default lead falls back to the first one
    QString trendLead = QStringLiteral("II");
    bool notch = false;
    bool lowPass = false;
    bool baseline = false;
    QString title;
    QString info;
    QString logoFile;

    // Sets the report's filters, amplitude, leads, sections and header from these options.
    void applyTo(THolterReport& report) const;
};

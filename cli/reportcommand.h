#pragma once

#include <QString>

class Args;
class CliContext;

// What `holter-cli report` can choose, as the report dialog offers it; the defaults are the
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
};

// Reads the report options of a command line; nonsense is a UsageError.
ReportOptions reportOptions(const Args& args);

// Makes the report of study `id`: computes missing results first (and saves them), then prints
// to `pdf`, or to the default printer when `pdf` is empty. A PDF run also leaves a copy in the
// store's reports folder and sets the study's status to "report", as the report dialog does.
// Throws with a ready message on failure.
void writeStudyReport(CliContext& ctx, int id, const ReportOptions& options, const QString& pdf);

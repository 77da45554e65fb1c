#pragma once

#include <QByteArray>
#include <QList>

// The keys under which the analyzers store their results and the study file keeps them:
// "analyzer/result", and for a per-channel result "analyzer/result(n)" (see channelKey). They
// are part of the stored format, so they sit with the result model where the store's own
// readers of results (beat edits, annotation export) reach them too. One namespace per
// analyzer; kAnalyzer is the analyzer's name in the results driver.
namespace ResultKeys {

// "base(channel)", e.g. channelKey(ST::kLevelTrend, 0) is "ST/STLevelTrend(0)".
QByteArray channelKey(const char* base, int channel);

// Every key that one run of the results driver stores for a recording with `channels` ECG
// channels, in byte order, the AF keys included.
QList<QByteArray> allKeys(int channels);

namespace HeartRate {
constexpr char kAnalyzer[] = "HR";
constexpr char kBpmTrend[] = "HR/BPMTrend";
constexpr char kAvgBpm[] = "HR/avgBPM";
constexpr char kMinBpm[] = "HR/minBPM"; // event: time and rate of the minimum
constexpr char kMaxBpm[] = "HR/maxBPM";
constexpr char kAvgBpmPerHour[] = "HR/avgBPMPerHour";
constexpr char kMinBpmPerHour[] = "HR/minBPMPerHour";
constexpr char kMaxBpmPerHour[] = "HR/maxBPMPerHour";
constexpr char kTotalBeatCount[] = "HR/totalBeatCount";
constexpr char kBeatCountPerHour[] = "HR/beatCountPerHour";
} // namespace HeartRate

namespace BeatCount {
constexpr char kAnalyzer[] = "count";
constexpr char kTotalCountU[] = "count/totalCountU";
constexpr char kTotalCountN[] = "count/totalCountN";
constexpr char kTotalCountV[] = "count/totalCountV";
constexpr char kTotalCountF[] = "count/totalCountF";
constexpr char kTotalCountS[] = "count/totalCountS";
// By type code U 0, N 1, V 2, F 3, S 4.
constexpr const char* kTotalCountOfType[5]
    = { kTotalCountU, kTotalCountN, kTotalCountV, kTotalCountF, kTotalCountS };
} // namespace BeatCount

// PVC and SVPB are one analyzer class run for two beat types; their keys differ only by prefix.
struct EctopyKeys
{
    const char* analyzer;
    const char* totalCount;
    const char* totalCountPerHour;
    const char* totalCountPerMinute;
    const char* coupletEvents;
    const char* coupletCount;
    const char* coupletCountPerHour;
    const char* tripletEvents;
    const char* tripletCount;
    const char* tripletCountPerHour;
    const char* runEvents;
    const char* runCount;
    const char* runCountPerHour;
    const char* maxRun;
};

constexpr EctopyKeys kPvc = { "PVC", "PVC/totalCount", "PVC/totalCountPerHour",
    "PVC/totalCountPerMinute", "PVC/coupletEvents", "PVC/coupletCount", "PVC/coupletCountPerHour",
    "PVC/tripletEvents", "PVC/tripletCount", "PVC/tripletCountPerHour", "PVC/runEvents",
    "PVC/runCount", "PVC/runCountPerHour", "PVC/maxRun" };
constexpr EctopyKeys kSvpb
    = { "SVPB", "SVPB/totalCount", "SVPB/totalCountPerHour", "SVPB/totalCountPerMinute",
          "SVPB/coupletEvents", "SVPB/coupletCount", "SVPB/coupletCountPerHour",
          "SVPB/tripletEvents", "SVPB/tripletCount", "SVPB/tripletCountPerHour", "SVPB/runEvents",
          "SVPB/runCount", "SVPB/runCountPerHour", "SVPB/maxRun" };

namespace Bigeminy {
constexpr char kAnalyzer[] = "bigeminy";
constexpr char kEvents[] = "bigeminy/bigeminyEvents";
constexpr char kCount[] = "bigeminy/bigeminyCount";
constexpr char kCountPerHour[] = "bigeminy/bigeminyCountPerHour";
} // namespace Bigeminy

namespace Trigeminy {
constexpr char kAnalyzer[] = "trigeminy";
constexpr char kEvents[] = "trigeminy/trigeminyEvents";
constexpr char kCount[] = "trigeminy/trigeminyCount";
constexpr char kCountPerHour[] = "trigeminy/trigeminyCountPerHour";
} // namespace Trigeminy

namespace Pause {
constexpr char kAnalyzer[] = "pause";
constexpr char kEvents[] = "pause/pauseEvents";
constexpr char kCount[] = "pause/pauseCount";
constexpr char kCountPerHour[] = "pause/pauseCountPerHour";
} // namespace Pause

namespace Arrhythmia {
constexpr char kAnalyzer[] = "arrhythmia";
constexpr char kTachycardiaEvents[] = "arrhythmia/tachycardiaEvents";
constexpr char kTotalTachyCount[] = "arrhythmia/totalTachyCount";
constexpr char kTachyCountPerHour[] = "arrhythmia/tachyCountPerHour";
constexpr char kTachyBeatCountPerHour[] = "arrhythmia/tachyBeatCountPerHour";
constexpr char kBradycardiaEvents[] = "arrhythmia/bradycardiaEvents";
constexpr char kTotalBradyCount[] = "arrhythmia/totalBradyCount";
constexpr char kBradyCountPerHour[] = "arrhythmia/bradyCountPerHour";
constexpr char kBradyBeatCountPerHour[] = "arrhythmia/bradyBeatCountPerHour";
} // namespace Arrhythmia

namespace AFib {
constexpr char kAnalyzer[] = "afib";
constexpr char kEvents[] = "afib/afibEvents";
constexpr char kTotalTime[] = "afib/afibTotalTime"; // seconds
} // namespace AFib

// Per-channel results: bases for channelKey.
namespace PR {
constexpr char kAnalyzer[] = "PR";
constexpr char kPRTrend[] = "PR/PRTrend";
constexpr char kPRIntervalAvg[] = "PR/PRIntervalAvg";
constexpr char kPDurationAvg[] = "PR/PDurationAvg";
} // namespace PR

namespace QT {
constexpr char kAnalyzer[] = "QT";
constexpr char kRRTrend[] = "QT/RRTrend"; // not per channel
constexpr char kRRIntervalAvg[] = "QT/RRIntervalAvg"; // not per channel
constexpr char kQTTrend[] = "QT/QTTrend";
constexpr char kQTcTrend[] = "QT/QTcTrend";
constexpr char kQTIntervalAvg[] = "QT/QTIntervalAvg";
constexpr char kQTcIntervalAvg[] = "QT/QTcIntervalAvg";
constexpr char kQRSIntervalAvg[] = "QT/QRSIntervalAvg";
constexpr char kTDurationAvg[] = "QT/TDurationAvg";
constexpr char kTPeakToEndIntervalAvg[] = "QT/TPeakToEndIntervalAvg";
} // namespace QT

namespace ST {
constexpr char kAnalyzer[] = "ST";
constexpr char kLevelTrend[] = "ST/STLevelTrend";
constexpr char kLevelPerHour[] = "ST/STLevelPerHour";
constexpr char kLevelAvg[] = "ST/STLevelAvg";
constexpr char kEventCount[] = "ST/STEventCount";
constexpr char kEventCountPerHour[] = "ST/STEventCountPerHour";
constexpr char kElevationEvents[] = "ST/STElevationEvents";
constexpr char kDepressionEvents[] = "ST/STDepressionEvents";
} // namespace ST

namespace HRV {
constexpr char kAnalyzer[] = "HRV";
constexpr char kAVGNN[] = "HRV/AVGNN";
constexpr char kSDNN[] = "HRV/SDNN";
constexpr char kSDANNIndex[] = "HRV/SDANNIndex";
constexpr char kSDNNIndex[] = "HRV/SDNNIndex";
constexpr char kRMSSD[] = "HRV/RMSSD";
constexpr char kPNN50[] = "HRV/PNN50";
constexpr char kHRVIndex[] = "HRV/HRVIndex";
constexpr char kTINNIndex[] = "HRV/TINNIndex";
constexpr char kTotalPower[] = "HRV/totalPower";
constexpr char kULFPower[] = "HRV/ULFPower";
constexpr char kVLFPower[] = "HRV/VLFPower";
constexpr char kLFPower[] = "HRV/LFPower";
constexpr char kHFPower[] = "HRV/HFPower";
constexpr char kLFNorm[] = "HRV/LFNorm";
constexpr char kHFNorm[] = "HRV/HFNorm";
constexpr char kLFHFRatio[] = "HRV/LFHFRatio";
constexpr char kAVGNNPerHour[] = "HRV/AVGNNPerHour";
constexpr char kSDNNPerHour[] = "HRV/SDNNPerHour";
constexpr char kRMSSDPerHour[] = "HRV/RMSSDPerHour";
constexpr char kPNN50PerHour[] = "HRV/PNN50PerHour";
constexpr char kNNCountPerHour[] = "HRV/NNCountPerHour";
constexpr char kTotalPowerPerHour[] = "HRV/totalPowerPerHour";
constexpr char kULFPowerPerHour[] = "HRV/ULFPowerPerHour";
constexpr char kVLFPowerPerHour[] = "HRV/VLFPowerPerHour";
constexpr char kLFPowerPerHour[] = "HRV/LFPowerPerHour";
constexpr char kHFPowerPerHour[] = "HRV/HFPowerPerHour";
constexpr char kLFNormPerHour[] = "HRV/LFNormPerHour";
constexpr char kHFNormPerHour[] = "HRV/HFNormPerHour";
constexpr char kLFHFRatioPerHour[] = "HRV/LFHFRatioPerHour";
constexpr char kPSD[] = "HRV/PSD";
constexpr char kNNHistogram[] = "HRV/NNHistogram";
constexpr char kLorenzX[] = "HRV/LorenzX";
constexpr char kLorenzY[] = "HRV/LorenzY";
constexpr char kLorenzZ[] = "HRV/LorenzZ";
} // namespace HRV

} // namespace ResultKeys

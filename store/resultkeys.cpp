#include "store/resultkeys.h"

#include <algorithm>

QByteArray ResultKeys::channelKey(const char* base, int channel)
{
    return QByteArray(base) + '(' + QByteArray::number(channel) + ')';
}

QList<QByteArray> ResultKeys::allKeys(int channels)
{
    QList<QByteArray> keys = {
        HeartRate::kBpmTrend,
        HeartRate::kAvgBpm,
        HeartRate::kMinBpm,
        HeartRate::kMaxBpm,
        HeartRate::kAvgBpmPerHour,
        HeartRate::kMinBpmPerHour,
        HeartRate::kMaxBpmPerHour,
        HeartRate::kTotalBeatCount,
        HeartRate::kBeatCountPerHour,
        Bigeminy::kEvents,
        Bigeminy::kCount,
        Bigeminy::kCountPerHour,
        Trigeminy::kEvents,
        Trigeminy::kCount,
        Trigeminy::kCountPerHour,
        Pause::kEvents,
        Pause::kCount,
        Pause::kCountPerHour,
        Arrhythmia::kTachycardiaEvents,
        Arrhythmia::kTotalTachyCount,
        Arrhythmia::kTachyCountPerHour,
        Arrhythmia::kTachyBeatCountPerHour,
        Arrhythmia::kBradycardiaEvents,
        Arrhythmia::kTotalBradyCount,
        Arrhythmia::kBradyCountPerHour,
        Arrhythmia::kBradyBeatCountPerHour,
        AFib::kEvents,
        AFib::kTotalTime,
        QT::kRRTrend,
        QT::kRRIntervalAvg,
        HRV::kAVGNN,
        HRV::kSDNN,
        HRV::kSDANNIndex,
        HRV::kSDNNIndex,
        HRV::kRMSSD,
        HRV::kPNN50,
        HRV::kHRVIndex,
        HRV::kTINNIndex,
        HRV::kTotalPower,
        HRV::kULFPower,
        HRV::kVLFPower,
        HRV::kLFPower,
        HRV::kHFPower,
        HRV::kLFNorm,
        HRV::kHFNorm,
        HRV::kLFHFRatio,
        HRV::kAVGNNPerHour,
        HRV::kSDNNPerHour,
        HRV::kRMSSDPerHour,
        HRV::kPNN50PerHour,
        HRV::kNNCountPerHour,
        HRV::kTotalPowerPerHour,
        HRV::kULFPowerPerHour,
        HRV::kVLFPowerPerHour,
        HRV::kLFPowerPerHour,
        HRV::kHFPowerPerHour,
        HRV::kLFNormPerHour,
        HRV::kHFNormPerHour,
        HRV::kLFHFRatioPerHour,
        HRV::kPSD,
        HRV::kNNHistogram,
        HRV::kLorenzX,
        HRV::kLorenzY,
        HRV::kLorenzZ,
    };
    for (const char* key : BeatCount::kTotalCountOfType)
        keys << key;
    for (const EctopyKeys& e : { kPvc, kSvpb })
        keys << e.totalCount << e.totalCountPerHour << e.totalCountPerMinute << e.coupletEvents
             << e.coupletCount << e.coupletCountPerHour << e.tripletEvents << e.tripletCount
             << e.tripletCountPerHour << e.runEvents << e.runCount << e.runCountPerHour << e.maxRun;
    for (int c = 0; c < channels; ++c) {
        for (const char* base : { PR::kPRTrend, PR::kPRIntervalAvg, PR::kPDurationAvg, QT::kQTTrend,
                 QT::kQTcTrend, QT::kQTIntervalAvg, QT::kQTcIntervalAvg, QT::kQRSIntervalAvg,
                 QT::kTDurationAvg, QT::kTPeakToEndIntervalAvg, ST::kLevelTrend, ST::kLevelPerHour,
                 ST::kLevelAvg, ST::kEventCount, ST::kEventCountPerHour, ST::kElevationEvents,
                 ST::kDepressionEvents })
            keys << channelKey(base, c);
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

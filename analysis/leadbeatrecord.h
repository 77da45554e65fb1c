#pragma once

#include <QtGlobal>

// What one channel's detector finds for one QRS. Positions are samples of the 250 Hz source,
// counted from the start of the current block inside the detector and absolute outside it.
struct LeadBeatRecord
{
    // A position that was not found. Tests for "found" compare with this exact number.
    static constexpr qint32 kNotFound = -999999999;

    static bool found(qint32 position) { return position != kNotFound; }

    qint32 qrs = kNotFound; // R position, always set by the detector
    qint32 pPeak = kNotFound;
    qint32 qPeak = kNotFound;
    qint32 rPeak = kNotFound;
    qint32 sPeak = kNotFound;
    qint32 tPeak = kNotFound;
    qint32 pqLevel = kNotFound; // isoelectric point before the QRS
    qint32 jPoint = kNotFound; // where the slope changes sign behind the QRS
    qint32 qrsOn = kNotFound;
    qint32 qrsOff = kNotFound;
    qint32 pOn = kNotFound;
    qint32 pOff = kNotFound;
    qint32 tOn = kNotFound;
    qint32 tOff = kNotFound;
    qint16 pPolarity = 0; // 1, -1, or 0 when no P wave
    qint16 qrsPolarity = 0; // 1, -1, or 0 when no QRS could be delineated
    qint16 tPolarity = 0; // 1, -1, or 0 when no T wave
    qint32 rejectedMaxima = 0; // rejected modulus maxima within 0.3 s of qrs

    // A record with nothing found but the R position.
    static LeadBeatRecord empty(qint32 qrsPosition)
    {
        LeadBeatRecord r;
        r.qrs = qrsPosition;
        return r;
    }

    // The record with block-relative positions made absolute; empty positions stay empty.
    LeadBeatRecord shifted(qint32 offset) const
    {
        LeadBeatRecord r = *this;
        r.qrs += offset;
        qint32* positions[] = { &r.pPeak, &r.qPeak, &r.rPeak, &r.sPeak, &r.tPeak, &r.pqLevel,
            &r.jPoint, &r.qrsOn, &r.qrsOff, &r.pOn, &r.pOff, &r.tOn, &r.tOff };
        for (qint32* p : positions)
            if (*p > kNotFound)
                *p += offset;
        return r;
    }
};

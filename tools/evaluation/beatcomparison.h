#pragma once

#include "recorder/wfdbannotation.h"

#include <QVector>

#include <array>
#include <optional>

// The five heartbeat classes of ANSI/AAMI EC57, plus "none" for the side of a comparison where
// a beat has no partner (a missed reference beat, an extra test beat).
enum class AamiClass { N = 0, S, V, F, Q, None };
constexpr int kAamiClassCount = 6;

// The AAMI class of a WFDB annotation code, or nothing when the code is not a beat (rhythm
// changes, noise, comments, artifacts...). The same table serves reference and test labels.
std::optional<AamiClass> aamiClassOfCode(int code);
char aamiClassLetter(AamiClass c);

// A detection measure: sensitivity TP / (TP + FN) and positive predictivity TP / (TP + FP),
// both absent when their denominator is zero.
struct DetectionCounts
{
    qint64 tp = 0;
    qint64 fn = 0;
    qint64 fp = 0;

    std::optional<double> sensitivity() const;
    std::optional<double> positivePredictivity() const;
    bool operator==(const DetectionCounts& o) const
    {
        return tp == o.tp && fn == o.fn && fp == o.fp;
    }
};

// Counts of (reference class, test class) pairs after the learning period. Row = reference,
// column = test; AamiClass::None in a row is an extra test beat, in a column a missed reference
// beat. The None/None cell stays zero.
class BeatConfusion
{
public:
    qint64 count(AamiClass ref, AamiClass test) const { return m_cells[idx(ref)][idx(test)]; }
    void add(AamiClass ref, AamiClass test, qint64 n = 1) { m_cells[idx(ref)][idx(test)] += n; }
    BeatConfusion& operator+=(const BeatConfusion& o);
    bool operator==(const BeatConfusion& o) const { return m_cells == o.m_cells; }

    qint64 referenceBeats() const; // every reference beat counted, matched or not
    qint64 testBeats() const;

    DetectionCounts qrs() const;
    DetectionCounts veb() const;
    DetectionCounts sveb() const;

private:
    static int idx(AamiClass c) { return int(c); }
    std::array<std::array<qint64, kAamiClassCount>, kAamiClassCount> m_cells {};
};

struct BeatComparisonOptions
{
    double samplingRate = 360.0; // Hz, of the annotation sample numbers of both files
    double matchWindowSeconds = 0.150;
    double startSeconds = 300.0; // learning period left out
    // Stretches of ventricular flutter or fibrillation, marked in the reference from "[" (code
    // 32) to "]" (code 33), are left out as EC57 leaves them out: there are no beats to match.
    bool excludeFlutter = true;
};

// The [start, end] sample stretches of ventricular flutter/fibrillation in a reference; an
// onset without an end runs to the end of the record.
QVector<QPair<qint64, qint64>> flutterStretches(const QVector<WfdbAnnotation>& reference);

// Matches the beats of `test` to those of `reference` and fills the confusion matrix.
//
// Matching: every (reference, test) pair no further apart than the window is a candidate; the
// candidates are taken nearest first, each beat at most once. So each reference beat gets the
// nearest test beat that no nearer reference beat claimed, and a test beat lying between two
// reference beats goes to the nearer one. Ties go to the earlier reference beat, then to the
// earlier test beat.
//
// Learning period: matching runs over the whole record, and then a pair counts when its
// reference beat lies at or after the start; an unmatched beat counts when it itself lies at or
// after the start. A test beat just after the start whose partner lies just before it is thus
// neither a false positive nor a true positive.
BeatConfusion compareBeats(const QVector<WfdbAnnotation>& reference,
    const QVector<WfdbAnnotation>& test, const BeatComparisonOptions& options);

#pragma once

#include <vector>

// Explainable beat criteria used to refine the automatic labels: each one is a measurement a
// cardiologist reads off a strip (QRS width, likeness to the dominant beat, prematurity and the
// pause after it, irregularity of the rhythm), kept free of the beat list so it can be tested on
// synthetic waves.
namespace labelcriteria {

// QRS width in seconds of an averaged complex `x` (n samples at `rate`, R at `r`): from where
// the slope first rises above a share of its steepest value to where it has stayed below that
// share for 40 ms. The end is searched up to 300 ms after R, so a wide complex is measured to
// its true end; 0 when the wave is flat.
double qrsWidth(const double* x, int n, int rate, int r);

// How a class compares with the dominant normal class, over the leads that carry its QRS.
struct ShapeComparison
{
    int leads = 0; // leads compared
    double minCorrelation = 1.0; // lowest template correlation over those leads
    double width = 0.0; // seconds, widest over those leads
    double referenceWidth = 0.0; // seconds, widest of the dominant class
    double meanRrRatio = 0.0; // RR / median RR, mean over the members
    bool strict = false; // looked normal when it was formed
    // The T wave points against the QRS on every lead that carries one, and the dominant beat's
    // does not: the secondary repolarisation of a ventricular beat.
    bool discordantT = false;
    double share = 0.0; // members over the dominant class's members
};

// Ventricular by shape: clearly different from the dominant beat on some lead that carries a QRS
// (correlation below 0.8) and wide (at least 120 ms and a fifth wider than the dominant beat);
// or far from it (below 0.6) and either premature or a fifth wider. A class that looked normal
// when it was formed must be wide and below 0.7, or below 0.6 with a discordant T, and have
// fewer than half the dominant class's members (more is a second form of the normal beat, as
// with intermittent bundle branch block or pre-excitation). A "complex" wider than 400 ms is a measurement
// of noise, not of a QRS.
bool ventricularShape(const ShapeComparison& s);

// Early: RR below `ratio` of the median RR.
bool premature(double rr, double medianRr, double ratio);
// A compensatory pause: the RR before and after the beat add up to at least 1.8 median RRs.
bool compensatoryPause(double rr, double nextRr, double medianRr);

// Irregularity of the rhythm, one flag per interval: true where the intervals around it vary
// like atrial fibrillation. The median absolute change between intervals, over the mean
// interval, in a window of `window` intervals around each one (the successive-difference measure
// of Tateno and Glass and of Petrenas et al., taken as a median so that a few ectopic beats in a
// regular rhythm don't count), must exceed its limit at lags 1, 2 and 3, so that bigeminy and
// trigeminy, which repeat, stay out. Zero entries (no usable RR) are skipped and keep false.
std::vector<bool> irregularRhythm(const std::vector<double>& rr, int window = 64);

} // namespace labelcriteria

#pragma once

class BeatClassSet;
class BeatList;
class ResultSet;
struct Beat;

// Edits of single beats that keep the beat list, the morphology classes and the counted
// results of a study in step. The counted results ("HR/totalBeatCount", the per-type totals
// and their hour and minute bins) follow each edit at once; everything else is re-derived by
// its own owner (the event catalog around the edit, HRV on request).
//
// `classes` may be null for a study whose classes are not built: the class steps are skipped.

// Moves the counters from `oldType` to `newType` for a beat at `time` seconds; either type may
// be -1 ("no beat"). A counter never goes below 0.0; absent results and bins outside a trend
// are left alone.
void updateBeatCounts(ResultSet& results, double time, int oldType, int newType);

// Gives `beat` (a copy of a list entry) the interval `rr` in seconds and type `type`: it leaves
// its class for a class of its own (the old one when it held only this beat, else the class of
// id index + 1000000), is written back to the list, and the counters move from its old type.
// `beat` holds the stored state afterwards.
void setBeatRrAndType(
    BeatList& beats, BeatClassSet* classes, ResultSet& results, Beat& beat, double rr, int type);

// Brings back the deleted (noise or removed) entry at `index` as a beat and re-derives its and
// the next beat's interval and type. A gap of more than 2 seconds across removed entries stays
// a break in the sequence. False, changing nothing, when `index` is no entry or already a beat.
bool restoreBeat(BeatList& beats, BeatClassSet* classes, ResultSet& results, int index);

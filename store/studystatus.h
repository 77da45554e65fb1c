#pragma once

// The values of a study's "status" property, in the order a study passes through them. The
// browser shows the report column from this field; nothing ever moves a study back to
// Downloaded (an empty beat store marks a study that needs processing instead).
namespace StudyStatus {

// A new study from a card or a record, not yet processed.
inline constexpr char Downloaded[] = "downloaded";
// The processor ran to its end; also written after reprocessing a reported study.
inline constexpr char Processed[] = "processed";
// A PDF report was saved.
inline constexpr char Report[] = "report";

} // namespace StudyStatus

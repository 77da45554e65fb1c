#pragma once

// The workstation's settings keys, shared by the configuration dialog that writes them and by
// the code that reads them. Types and defaults stand beside each key; the readers in
// settingsreader.h apply them.
namespace SettingsKeys {

// Report header (string, default empty).
inline constexpr char HeaderLogoFilename[] = "ReportDialog/HeaderLogoFilename";
inline constexpr char HeaderTitle[] = "ReportDialog/HeaderTitle";
inline constexpr char HeaderInfo[] = "ReportDialog/HeaderInfo";

// Analysis limits for new result runs; "Config/Analysis/" followed by the parameter's key. The
// defaults are those of AnalysisParams.
inline constexpr char AnalysisPrefix[] = "Config/Analysis/";
inline constexpr char PauseIntervalSecs[] = "Config/Analysis/pause/intervalSecs"; // double
inline constexpr char TachycardiaBPMLimit[] = "Config/Analysis/arrhythmia/tachycardiaBPMLimit"; // int
inline constexpr char BradycardiaBPMLimit[] = "Config/Analysis/arrhythmia/bradycardiaBPMLimit"; // int
inline constexpr char ArrhythmiaMinDurationSecs[] = "Config/Analysis/arrhythmia/minDurationSecs"; // int
inline constexpr char QTCorrectionFormulaId[] = "Config/Analysis/QT/correctionFormulaId"; // int

// Defaults of a processing run (bool unless said otherwise).
inline constexpr char AllowTypeV[] = "Config/Classification/AllowTypeV"; // default true
inline constexpr char AllowTypeF[] = "Config/Classification/AllowTypeF"; // default true
inline constexpr char AllowTypeS[] = "Config/Classification/AllowTypeS"; // default true
inline constexpr char AllowTypeU[] = "Config/Classification/AllowTypeU"; // default true
inline constexpr char SVPBUserDefined[] = "Config/Classification/SVPBUserDefined"; // default false
inline constexpr char SVPBPrematurityPct[] = "Config/Classification/SVPBPrematurityPct"; // int, 20
inline constexpr char SVPBCompensatory[] = "Config/Classification/SVPBCompensatory"; // default false
inline constexpr int kDefaultSVPBPrematurityPct = 20;
// The analysis's labels exactly as the literal rules give them, without the refinement.
inline constexpr char LiteralRules[] = "Analysis/LiteralRules"; // default false

// Report export after a PDF run (bool false; string empty).
inline constexpr char AutoExportReports[] = "Config/AutoExportReports";
inline constexpr char ExportReportFolder[] = "Config/ExportReportFolder";
// Study export after a download (bool false; string empty).
inline constexpr char AutoExportStudies[] = "Config/AutoExportStudies";
inline constexpr char ExportStudyFolder[] = "Config/ExportStudyFolder";

// The study browser's shared folders (string list; string).
inline constexpr char SharedFolderList[] = "OpenStudyDialog/SharedFolderList";
inline constexpr char DefaultSharedFolder[] = "OpenStudyDialog/DefaultSharedFolder";

// The command that sends the upload folder to the maker (string; empty: none configured).
inline constexpr char UploaderCommand[] = "Config/UploaderCommand";

// Histories of the study data dialog's combo boxes (string lists, default empty).
inline constexpr char IdTypeList[] = "StudyDialog/IdTypeList";
inline constexpr char MedicalGroupList[] = "StudyDialog/MedicalGroupList";
inline constexpr char CityList[] = "StudyDialog/CityList";
inline constexpr char StateList[] = "StudyDialog/StateList";
inline constexpr char TechnicianNameList[] = "StudyDialog/TechnicianNameList";
inline constexpr char DoctorNameList[] = "StudyDialog/DoctorNameList";
inline constexpr char ReferringDoctorNameList[] = "StudyDialog/ReferringDoctorNameList";

} // namespace SettingsKeys

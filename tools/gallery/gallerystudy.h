#pragma once

#include <QDateTime>
#include <QString>

#include <memory>

class EventCatalog;
class Study;
class StudyRepository;

// A simulated one-hour study, imported and processed in a store of its own under `root`, for
// pictures of the workstation's views. Known stretches of it, in seconds from the start.
class GalleryStudy
{
public:
    static constexpr double kVtSeconds = 600.0;
    static constexpr double kAfSeconds = 1200.0;
    static constexpr double kMuscleNoiseSeconds = 2100.0;
    static constexpr double kElectrodeOffSeconds = 2700.0;

    // Simulates, imports, processes and computes the results; throws with a message on failure.
    explicit GalleryStudy(const QString& root);
    ~GalleryStudy();
    GalleryStudy(const GalleryStudy&) = delete;
    GalleryStudy& operator=(const GalleryStudy&) = delete;

    Study& study() const { return *m_study; }
    EventCatalog& events() const { return *m_events; }
    QDateTime recordingStart() const;

private:
    std::unique_ptr<StudyRepository> m_repository;
    Study* m_study = nullptr; // owned by the repository until closed
    std::unique_ptr<EventCatalog> m_events;
};

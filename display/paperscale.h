#pragma once

class QPaintDevice;

// Millimetres of a paint device: a printer, a PDF page or an image of known resolution. Report
// graphics measure everything through it so that a strip is at true scale on paper.
class PaperScale
{
public:
    explicit PaperScale(const QPaintDevice* device);

    double pixelsPerMillimetre() const { return m_pxPerMm; }
    // device width in pixels * mm / device width in mm
    double millimetresToPixels(double mm) const { return mm * m_pxPerMm; }
    double pixelsToMillimetres(double px) const { return px / m_pxPerMm; }

private:
    double m_pxPerMm = 1.0;
};

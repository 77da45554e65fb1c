#pragma once

#include "review/qplotgraphic.h"

class DispersionSource;

// RR dispersion against time: a heat map of how many RR intervals of each length fall in each
// time slice. Axes, cursor and mouse as QPlotGraphic; the cursor follows the pointer.
class QDispersionTrendGraphic : public QPlotGraphic
{
    Q_OBJECT
public:
    explicit QDispersionTrendGraphic(QWidget* parent = nullptr);
    ~QDispersionTrendGraphic() override;

    // Takes ownership. `sliceSeconds` is the width of one column of cells.
    void setDispersionSource(std::unique_ptr<DispersionSource> source, double sliceSeconds);
    DispersionSource* dispersionSource() const { return m_dispersion.get(); }
    double sliceSeconds() const { return m_sliceSeconds; }

protected:
    void paintData(QPainter* painter, const PlotAxes& axes) const override;
    bool hasData() const override { return m_dispersion != nullptr; }

private:
    std::unique_ptr<DispersionSource> m_dispersion;
    double m_sliceSeconds = 60.0;
};

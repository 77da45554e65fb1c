#include "review/qdispersiontrendgraphic.h"

#include "display/rrdispersionsource.h"
#include "display/trendbandpainter.h"

QDispersionTrendGraphic::QDispersionTrendGraphic(QWidget* parent)
    : QPlotGraphic(parent)
{
    setCursorFree(1);
}

QDispersionTrendGraphic::~QDispersionTrendGraphic() = default;

void QDispersionTrendGraphic::setDispersionSource(
    std::unique_ptr<DispersionSource> source, double sliceSeconds)
{
    m_dispersion = std::move(source);
    m_sliceSeconds = sliceSeconds;
    changed();
}

void QDispersionTrendGraphic::paintData(QPainter* painter, const PlotAxes& axes) const
{
    if (m_dispersion)
        TrendBandPainter::paintDispersion(painter, axes, *m_dispersion, m_sliceSeconds);
}

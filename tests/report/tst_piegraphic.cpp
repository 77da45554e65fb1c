#include "report/piegraphic.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>

TEST(PieGraphic, SlicesCoverTheirShareOfTheCircle)
{
    PieGraphic pie;
    pie.addSlice(1.0, Qt::red, "a");
    pie.addSlice(3.0, Qt::blue, "b");
    EXPECT_EQ(pie.spanAngle(0), 1440); // a quarter of 5760 sixteenths of a degree
    QImage img(400, 400, QImage::Format_RGB32);
    img.fill(Qt::white);
    {
        QPainter p(&img);
        pie.paint(&p, img.rect());
    }
    // Sample at three quarters of the radius, away from the labels at half the radius. The
    // first slice spans 0..90 degrees, counter-clockwise from three o'clock (up-right).
    auto at = [&](double degrees) {
        const double a = degrees * M_PI / 180.0;
        return QColor(img.pixel(int(200 + 150 * std::cos(a)), int(200 - 150 * std::sin(a))));
    };
    EXPECT_EQ(at(45), QColor(Qt::red));
    EXPECT_EQ(at(135), QColor(Qt::blue));
    EXPECT_EQ(at(300), QColor(Qt::blue));
    // Outside the circle stays white.
    EXPECT_EQ(QColor(img.pixel(5, 5)), QColor(Qt::white));
}

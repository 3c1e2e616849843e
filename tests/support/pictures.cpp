#include "support/pictures.h"

#include <QPixmap>

#include <cstdlib>

namespace {

bool close(QRgb a, QRgb b, int tolerance)
{
    return std::abs(qRed(a) - qRed(b)) <= tolerance && std::abs(qGreen(a) - qGreen(b)) <= tolerance
        && std::abs(qBlue(a) - qBlue(b)) <= tolerance && std::abs(qAlpha(a) - qAlpha(b)) <= tolerance;
}

} // namespace

QImage picture_of(QWidget &widget)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

testing::AssertionResult same_picture(const QImage &actual, const QImage &expected, int tolerance)
{
    if (actual.size() != expected.size())
        return testing::AssertionFailure() << "sizes " << actual.width() << "x" << actual.height() << " and "
                                           << expected.width() << "x" << expected.height();
    int different = 0;
    QPoint first;
    for (int y = 0; y < actual.height(); ++y) {
        for (int x = 0; x < actual.width(); ++x) {
            if (close(actual.pixel(x, y), expected.pixel(x, y), tolerance))
                continue;
            if (different++ == 0)
                first = {x, y};
        }
    }
    if (different == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
        << different << " pixels differ, the first at " << first.x() << ", " << first.y() << std::hex << ": "
        << actual.pixel(first) << " instead of " << expected.pixel(first);
}

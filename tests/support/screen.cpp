#include "support/screen.h"

#include <QDesktopWidget>

namespace {

QRect screen_geometry;

} // namespace

void set_screen_geometry(const QRect &geometry)
{
    screen_geometry = geometry;
}

// The linker redirects the query for the geometry of a widget's screen to this function.
QRect geometry_of(const QDesktopWidget *desktop,
                  const QWidget *widget) asm("__wrap__ZNK14QDesktopWidget14screenGeometryEPK7QWidget");

QRect geometry_of(const QDesktopWidget *, const QWidget *widget)
{
    return widget ? screen_geometry : QRect(0, 0, 1, 1);
}

#pragma once

#include <QImage>
#include <QWidget>

#include <gtest/gtest.h>

/// The widget's picture as it would be on screen, 32 bits per pixel without alpha.
QImage picture_of(QWidget &widget);

/// Succeeds when both pictures have the same size and no colour channel of any pixel differs by more than
/// @p tolerance; otherwise names the first pixel that does and how many there are.
testing::AssertionResult same_picture(const QImage &actual, const QImage &expected, int tolerance = 0);

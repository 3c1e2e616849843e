#pragma once

#include <QString>
#include <QStringList>

/// Holds one row of a table in docs/screens.md against what a test has seen: the document must have a row of
/// these cells below the comment that names the table. If the environment names a file in
/// LANTERNIX_SCREENS_ROWS, appends the row to it instead, for scripts/screens. @p place: of the row in the
/// table, from 0.
void record(const char *table, std::size_t place, const QStringList &cells);

/// The first cell of each row that the document has in the table.
QStringList recorded_names(const char *table);

#include "e2e/record.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

QStringList rows_of(const char *table)
{
    QFile document(SCREENS_DOCUMENT);
    document.open(QIODevice::ReadOnly);
    const QString text = QString::fromUtf8(document.readAll());
    QStringList rows =
        text.section(QStringLiteral("<!-- table: %1 -->\n").arg(table), 1).section("\n\n", 0, 0).split('\n');
    while (!rows.isEmpty() && rows.last().isEmpty()) // the table ends the file
        rows.removeLast();
    return rows.mid(2); // without the head
}

} // namespace

void record(const char *table, std::size_t place, const QStringList &cells)
{
    const QString row = "| " + cells.join(" | ") + " |";
    if (!qEnvironmentVariableIsSet("LANTERNIX_SCREENS_ROWS")) {
        EXPECT_EQ(rows_of(table).value(static_cast<int>(place)).toStdString(), row.toStdString())
            << "docs/screens.md says otherwise; scripts/screens writes it";
        return;
    }
    QFile file(qEnvironmentVariable("LANTERNIX_SCREENS_ROWS"));
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write(QStringLiteral("%1 %2 %3\n").arg(table).arg(place).arg(row).toUtf8());
}

QStringList recorded_names(const char *table)
{
    QStringList names;
    for (const QString &row : rows_of(table))
        names << row.section(" | ", 0, 0).mid(2);
    return names;
}

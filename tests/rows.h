#pragma once

#include <QTest>

/// A row of the data table that is being filled, in one call: `addRow("name", 1, "text")`.
template<class... Values>
void addRow(const char* name, const Values&... values)
{
    QTestData& data = QTest::newRow(name);
    (void(data << values), ...);
}

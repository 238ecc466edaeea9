// What most tests include besides. All of Qt Test would ask which of Qt's other libraries the test links.
#include <QtCore/QtCore>
#include <QtTest/qtestcase.h>
#include <random>
#include <stdexcept>

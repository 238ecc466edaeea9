#pragma once

#include <startup/errorhandler.h>
#include <support/patience.h>
#include <support/random.h>
#include <support/rows.h>
#include <support/testprogram.h>
#include <support/text.h>

#include <QtTest>

#include <functional>
#include <memory>

/// \file
/// What nearly every test needs: Qt Test and all of QtCore, KOLTA_TEST, waiting, tables of rows, texts,
/// seeds, a recorder of trace lines.

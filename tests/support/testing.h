#pragma once

// What nearly every test of the engine's libraries uses.
#include "tests/support/asserttrap.h"
#include "tests/support/memorystreams.h"
#include "tests/support/messageof.h"
#include "tests/support/tracerecorder.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <tuple>
#include <vector>

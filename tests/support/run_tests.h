// Runs the cases of a program; its exit status tells a skip from a pass. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_RUN_TESTS_H
#define QXSPEECH_TESTS_SUPPORT_RUN_TESTS_H

#include <gtest/gtest.h>

// 0 all passed, 77 all passed but for skipped ones (shown as skipped by ctest), else a failure. With QX_REAL_TIME in
// the environment a case that failed is run again, at most four times, if the machine stood still for a while during
// it (see StallWatch): what is heard then says nothing about the code. A failure on a steady machine stays one.
int RunTests();

#endif

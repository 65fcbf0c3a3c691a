// Runs the cases of a program; its exit status tells a skip from a pass. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_RUN_TESTS_H
#define QXSPEECH_TESTS_SUPPORT_RUN_TESTS_H

#include <gtest/gtest.h>

// 0 all passed, 77 all passed but for skipped ones (shown as skipped by ctest), else a failure.
inline int RunTests()
{
    constexpr int skipped = 77;
    const int result = RUN_ALL_TESTS();
    return result == 0 && testing::UnitTest::GetInstance()->skipped_test_count() > 0 ? skipped : result;
}

#endif

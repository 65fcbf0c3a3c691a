// A sound server for all cases of a suite. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SINK_SUITE_H
#define QXSPEECH_TESTS_SUPPORT_SINK_SUITE_H

#include <cstdlib>
#include <memory>

#include <gtest/gtest.h>
#include <portaudio.h>

#include "support/pulse_sink.h"

// The server and PortAudio, started once for a suite. Without a server its cases skip, or fail where nothing may skip;
// a SetUp of the suite's own calls this one first and goes on if IsReady. One suite in a program.
template <class Base = testing::Test>
class SinkSuite : public Base
{
public:
    static void SetUpTestSuite()
    {
        s_sink = std::make_unique<PulseSink>();
        s_started = s_sink->Ok() && Pa_Initialize() == paNoError;
    }
    static void TearDownTestSuite()
    {
        if (s_started)
            Pa_Terminate();
        s_started = false;
        s_sink.reset();
    }

protected:
    void SetUp() override
    {
        if (!s_sink->Ok() && !std::getenv("QXSPEECH_NO_SKIP"))
            GTEST_SKIP() << s_sink->Why();
        ASSERT_TRUE(s_started) << s_sink->Why();
    }
    static bool IsReady() { return s_started; }

    inline static std::unique_ptr<PulseSink> s_sink;
    inline static bool s_started = false; // PortAudio is to be ended with the suite
};

#endif

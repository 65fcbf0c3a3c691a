// Values of SSML's prosody element. MIT licence.
#pragma once

#include "platform/posix/scriptwriter.h"

#include <string_view>

namespace qxvoice
{

// Each answers the new value by the one in force; a text that cannot be read changes nothing. Words ("slow"), plain
// numbers and percents without sign replace what is in force, signed ones and semitones or decibels add to it.
double ProsodyRate(std::wstring_view text, double rate);     // steps
double ProsodyPitch(std::wstring_view text, double pitch);   // octaves
double ProsodyRange(std::wstring_view text, double range);   // factor
double ProsodyVolume(std::wstring_view text, double volume); // percent

} // namespace qxvoice

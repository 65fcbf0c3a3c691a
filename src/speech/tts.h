// The one header a host includes for speech; each engine's own header comes beside it. MIT licence.
#ifndef QXSPEECH_SPEECH_TTS_H
#define QXSPEECH_SPEECH_TTS_H

#include "speech/qxtexttospeech.h"
#include "speech/speechfailure.h"
#include "speech/texttospeech.h"
#include "speech/ttshandler.h"
#include "speech/ttshtmlparser.h"
#include "speech/ttsproperties.h"
#include "speech/ttssettings.h"
#include "speech/ttstransformer.h"
#include "speech/ttstransformoptions.h"
#include "speech/ttsvoiceinfo.h"

#endif

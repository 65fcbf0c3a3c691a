// The one header a host includes for speech; each engine's own header comes beside it. MIT licence.
#ifndef QXSPEECH_SPEECH_TTS_H
#define QXSPEECH_SPEECH_TTS_H

#include "qxtexttospeech.h"
#include "speechfailure.h"
#include "texttospeech.h"
#include "ttshandler.h"
#include "ttshtmlparser.h"
#include "ttsproperties.h"
#include "ttssettings.h"
#include "ttstransformer.h"
#include "ttstransformoptions.h"
#include "ttsvoiceinfo.h"

#endif

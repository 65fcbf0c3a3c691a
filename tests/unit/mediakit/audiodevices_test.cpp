// The device list, its ids, and the notices of change, over a pretended PortAudio and sound system. MIT licence.
#include <gmock/gmock.h>

#include <pa_win_wasapi.h>

#include "mediakit/devicemanagerimpl.h"
#include "mediakit/endpointnotification.h"
#include "platform/posix/control.h"
#include "platform/posix/deviceids.h"
#include "support/log_capture.h"
#include "support/portaudio_double.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

std::vector<std::string> Texts(const LogCapture& log)
{
    std::vector<std::string> texts;
    for (const LogCapture::Record& record : log.records)
        texts.emplace_back(record.text.utf8_str());
    return texts;
}

class AudioDevices : public testing::Test
{
protected:
    AudioDevices() { PortAudioDouble::Get().Reset(); }

    PortAudioDouble& m_audio = PortAudioDouble::Get();
};

// An enumerator that hands its client to the test.
class FakeEnumerator : public IMMDeviceEnumerator
{
public:
    virtual ~FakeEnumerator() = default;
    HRESULT QueryInterface(REFIID, void** object) override
    {
        AddRef();
        *object = static_cast<IMMDeviceEnumerator*>(this);
        return S_OK;
    }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override { return --references; }
    HRESULT RegisterEndpointNotificationCallback(IMMNotificationClient* made) override
    {
        if (SUCCEEDED(answer))
            client = made;
        return answer;
    }
    HRESULT UnregisterEndpointNotificationCallback(IMMNotificationClient* made) override
    {
        EXPECT_EQ(client, made);
        client = nullptr;
        return S_OK;
    }

    IMMNotificationClient* client = nullptr;
    HRESULT answer = S_OK;
    ULONG references = 0;
};

class DeviceNotification : public AudioDevices
{
protected:
    DeviceNotification()
    {
        qxplatform::control::SetClassFactory(CLSID_MMDeviceEnumerator, [this](REFIID iid, void** object) {
            EXPECT_TRUE(iid == IID_IMMDeviceEnumerator);
            return m_enumerator.QueryInterface(iid, object);
        });
    }

    FakeEnumerator m_enumerator;
    qxplatform::control::Restorer m_restorer;
};

} // namespace

TEST(DeviceStateText, JoinsTheFlagsInOrder)
{
    EXPECT_EQ(mkDeviceStateText(0), "");
    EXPECT_EQ(mkDeviceStateText(2), "Disabled,");
    EXPECT_EQ(mkDeviceStateText(8 | 1), "Active,Unplugged,");
    EXPECT_EQ(mkDeviceStateText(0xF), "Active,Disabled,Not Present,Unplugged,");
    EXPECT_EQ(mkDeviceStateText(0x10), "");
}

TEST(DeviceIds, CardNumberBecomesTheCardsOwnId)
{
    const auto cards = [](int card) { return card == 1 ? std::string("Generic") : std::string(); };
    const struct {
        const char* name;
        const char* expected;
    } rows[] = {
        {"HD Audio: ALC257 (hw:1,0)", "HD Audio: ALC257 (hw:CARD=Generic,DEV=0)"},
        {"HDMI (hw:1,13) x", "HDMI (hw:CARD=Generic,DEV=13) x"},
        {"Other card (hw:0,0)", "Other card (hw:0,0)"},
        {"pulse", "pulse"},
        {"", ""},
        {"hw:", "hw:"},
        {"hw:1", "hw:1"},
        {"hw:1,", "hw:1,"},
        {"hw:,0", "hw:,0"},
        {"hw:11111111111111111111,0", "hw:11111111111111111111,0"},
        {"(hw:1,0) mix (hw:x,0)", "(hw:1,0) mix (hw:x,0)"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(qxplatform::StableDeviceName(row.name, cards), row.expected);
}

TEST(DeviceIds, RepeatsAreToldApartAlsoFromNamesThatLookLikeRepeats)
{
    EXPECT_THAT(qxplatform::DistinctIds({"a", "b", "a", "a", "b"}), ElementsAre("a", "b", "a#2", "a#3", "b#2"));
    EXPECT_THAT(qxplatform::DistinctIds({"a", "a#2", "a"}), ElementsAre("a", "a#2", "a#3"));
    EXPECT_THAT(qxplatform::DistinctIds({}), IsEmpty());
}

TEST(DeviceIds, ServersDeviceHasTheIdOfPortAudiosWhereItIsACard)
{
    const auto cards = [](int card) { return card == 0 ? std::string("PCH") : std::string(); };
    EXPECT_EQ(qxplatform::ServerDeviceId({"alsa_output.pci", "0", "HDA Intel PCH", "3", "HDMI 0"}, cards),
              "ALSA:" + qxplatform::StableDeviceName("HDA Intel PCH: HDMI 0 (hw:0,3)", cards));
    EXPECT_EQ(qxplatform::ServerDeviceId({"bluez.1", "", "", "", ""}, cards), "PulseAudio:bluez.1");
    EXPECT_EQ(qxplatform::ServerDeviceId({"alsa.gone", "7", "Gone", "0", "Gone"}, cards), "PulseAudio:alsa.gone");
}

TEST_F(AudioDevices, ListsDevicesWithDistinctIds)
{
    MKAudioDeviceManagerImpl manager;
    manager.PopulateDeviceList(false);
    ASSERT_EQ(manager.GetDeviceCount(), 3);
    EXPECT_EQ(manager.GetDeviceId(0), "ALSA:Speakers");
    EXPECT_EQ(manager.GetDeviceId(1), "ALSA:Speakers#2");
    EXPECT_EQ(manager.GetDeviceId(2), "ALSA:Microphone");
    EXPECT_EQ(manager.GetDeviceName(1), "Speakers");
    EXPECT_EQ(manager.GetDefaultOutputDevice(), "ALSA:Speakers");
    EXPECT_EQ(manager.GetDefaultInputDevice(), "ALSA:Microphone");
    EXPECT_TRUE(manager.IsOutput("ALSA:Speakers#2"));
    EXPECT_FALSE(manager.IsOutput("ALSA:Microphone"));
    EXPECT_EQ(manager.GetDeviceInfo("ALSA:Speakers#2")->maxOutputChannels, 8);
}

TEST_F(AudioDevices, ListIsLogged)
{
    m_audio.devices[1] = {"Duplex \xC3\xA9", 1, 2, 2, 44099.6, 0, 0, {}};
    m_audio.devices[2].hostApi = 7;
    MKAudioDeviceManagerImpl manager;
    LogCapture log;
    manager.PopulateDeviceList(true);
    EXPECT_THAT(
        Texts(log),
        ElementsAre("---------------------AUDIO DEVICES------------------------",
                    "Speakers (API: ALSA, Input: 0, Output: 2, Rate: 44100, Loopback: false, Default Output: "
                    "true, ID: ALSA:Speakers)",
                    "Duplex \xC3\xA9 (API: OSS, Input: 2, Output: 2, Rate: 44100, Loopback: true, Default Output: "
                    "false, ID: OSS:Duplex \xC3\xA9)",
                    "PopulateDeviceList: null host api info", "PaWasapi_GetIMMDevice error: -9978",
                    "Microphone (API: , Input: 2, Output: 0, Rate: 48000, Loopback: false, Default Output: "
                    "false, ID: )",
                    "--------------------------------------------------------------"));
}

TEST_F(AudioDevices, WrongQuestionsAreLoggedAndAnsweredEmpty)
{
    MKAudioDeviceManagerImpl manager;
    manager.PopulateDeviceList(false);
    m_audio.defaultInput = -1;
    m_audio.defaultOutput = 3;
    LogCapture log;
    EXPECT_EQ(manager.GetDeviceId(-1), "");
    EXPECT_EQ(manager.GetDeviceId(3), "");
    EXPECT_EQ(manager.GetDeviceName(3), "");
    EXPECT_EQ(manager.GetDefaultInputDevice(), "");
    EXPECT_EQ(manager.GetDefaultOutputDevice(), "");
    EXPECT_EQ(manager.GetDeviceInfo("ALSA:Nobody"), nullptr);
    EXPECT_FALSE(manager.IsOutput("ALSA:Nobody"));
    EXPECT_THAT(Texts(log), ElementsAre("MKAudioDeviceManager -> GetDeviceId: Invalid index",
                                        "MKAudioDeviceManager -> GetDeviceId: Invalid index",
                                        "MKAudioDeviceManager -> GetDeviceName: Invalid index",
                                        "MKAudioDeviceManager -> GetDefaultInputDevice: Invalid index",
                                        "MKAudioDeviceManager -> GetDefaultOutputDevice: Invalid index",
                                        "MKAudioDeviceManager -> GetDeviceInfo: Invalid index",
                                        "MKAudioDeviceManager -> GetDeviceInfo: Invalid index",
                                        "MKAudioDeviceManager -> IsOutput: null device info"));
}

TEST_F(AudioDevices, DeviceThatWentAwayHasNoInfo)
{
    MKAudioDeviceManagerImpl manager;
    manager.PopulateDeviceList(false);
    m_audio.devices.pop_back();
    EXPECT_EQ(manager.GetDeviceInfo("ALSA:Microphone"), nullptr);
    EXPECT_NE(manager.GetDeviceInfo("ALSA:Speakers#2"), nullptr);
}

TEST_F(AudioDevices, DeviceWithoutIdIsFoundByTheEmptyId)
{
    m_audio.devices[1].hostApi = 7;
    MKAudioDeviceManagerImpl manager;
    manager.PopulateDeviceList(false);
    ASSERT_NE(manager.GetDeviceInfo(""), nullptr);
    EXPECT_EQ(manager.GetDeviceInfo("")->maxOutputChannels, 8);
}

TEST_F(AudioDevices, PortAudioThatDoesNotRunGivesAnEmptyList)
{
    m_audio.countOverride = paNotInitialized;
    m_audio.defaultOutput = paNoDevice;
    MKAudioDeviceManagerImpl manager;
    manager.PopulateDeviceList(true);
    EXPECT_EQ(manager.GetDeviceId(0), "");
    EXPECT_EQ(manager.GetDefaultOutputDevice(), "");
}

TEST_F(AudioDevices, NameThatIsNotUtf8StillHasAnIdOfItsOwn)
{
    m_audio.devices[0].name = "bad\xFF";
    m_audio.devices[1].name = "bad\xFE";
    MKAudioDeviceManagerImpl manager;
    manager.PopulateDeviceList(true);
    EXPECT_NE(manager.GetDeviceId(0), manager.GetDeviceId(1));
    EXPECT_TRUE(manager.IsOutput(manager.GetDeviceId(0)));
}

TEST_F(AudioDevices, EndpointOfADeviceIsPortAudiosOwnAndStaysTheSame)
{
    void* first = nullptr;
    void* again = nullptr;
    ASSERT_EQ(PaWasapi_GetIMMDevice(1, &first), paNoError);
    ASSERT_EQ(PaWasapi_GetIMMDevice(1, &again), paNoError);
    EXPECT_EQ(first, again);
    EXPECT_EQ(PaWasapi_GetIMMDevice(3, &first), paInvalidDevice);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(PaWasapi_GetIMMDevice(-1, &first), paInvalidDevice);
}

TEST_F(DeviceNotification, ChangesAreLoggedAndReachTheCallback)
{
    MKAudioDeviceManagerImpl manager;
    manager.StartNotification();
    ASSERT_NE(m_enumerator.client, nullptr);
    std::vector<std::pair<std::string, MKDeviceChangeMsg>> changes;
    manager.SetChangeCallback([&](const std::string& id, MKDeviceChangeMsg msg) { changes.emplace_back(id, msg); });
    IMMNotificationClient& client = *m_enumerator.client;
    LogCapture log;
    EXPECT_EQ(client.OnDeviceAdded(L"caf\u00E9"), 0);
    EXPECT_EQ(client.OnDeviceRemoved(nullptr), 0);
    EXPECT_EQ(client.OnDefaultDeviceChanged(eRender, eConsole, L"b"), 0);
    EXPECT_EQ(client.OnDeviceStateChanged(L"c", DEVICE_STATE_DISABLED), 0);
    EXPECT_EQ(client.OnDeviceStateChanged(L"d", DEVICE_STATE_ACTIVE | DEVICE_STATE_UNPLUGGED), 0);
    EXPECT_EQ(client.OnPropertyValueChanged(L"e", PROPERTYKEY()), 0);
    EXPECT_THAT(Texts(log),
                ElementsAre("Audio device added: caf\xC3\xA9.", "Audio device removed: .",
                            "Audio default device changed: b.", "Audio device state changed: c - Disabled,.",
                            "Audio device state changed: d - Active,Unplugged,."));
    EXPECT_THAT(changes, ElementsAre(std::make_pair("caf\xC3\xA9", MKDeviceAdded), std::make_pair("", MKDeviceRemoved),
                                     std::make_pair("b", MKDefaultDeviceChanged), std::make_pair("c", MKDeviceRemoved),
                                     std::make_pair("d", MKDeviceAdded)));
    manager.SetChangeCallback(nullptr);
    EXPECT_EQ(client.OnDeviceAdded(L"f"), 0);
    EXPECT_EQ(changes.size(), 5U);
}

TEST_F(DeviceNotification, EndsWithTheManagerAndLetsGoOfTheEnumerator)
{
    {
        MKAudioDeviceManagerImpl manager;
        manager.StartNotification();
        EXPECT_EQ(m_enumerator.references, 1U);
    }
    EXPECT_EQ(m_enumerator.client, nullptr);
    EXPECT_EQ(m_enumerator.references, 0U);
}

TEST_F(DeviceNotification, WithoutItTheManagerWorksOn)
{
    m_enumerator.answer = E_FAIL;
    MKAudioDeviceManagerImpl refused;
    LogCapture log;
    refused.StartNotification();
    EXPECT_THAT(Texts(log), ElementsAre("Cannot initialize audio endpoint notification."));
    qxplatform::control::SetClassFactory(CLSID_MMDeviceEnumerator, [](REFIID, void** object) {
        *object = nullptr;
        return CO_E_NOTINITIALIZED;
    });
    MKAudioDeviceManagerImpl withoutCom;
    withoutCom.StartNotification();
    EXPECT_EQ(log.records.size(), 1U);
    refused.PopulateDeviceList(false);
    EXPECT_EQ(refused.GetDeviceCount(), 3);
}

TEST_F(DeviceNotification, AnswersForItsInterfacesOnly)
{
    MKAudioDeviceManagerImpl manager;
    auto* const client = new MKAudioEndpointNotification(&manager);
    void* found = &manager;
    EXPECT_EQ(client->QueryInterface(IID_IMMDevice, &found), E_NOINTERFACE);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(client->QueryInterface(IID_IUnknown, &found), S_OK);
    EXPECT_EQ(found, static_cast<IMMNotificationClient*>(client));
    EXPECT_EQ(client->QueryInterface(IID_IMMNotificationClient, &found), S_OK);
    EXPECT_EQ(client->Release(), 2U);
    EXPECT_EQ(client->Release(), 1U);
    EXPECT_EQ(client->Release(), 0U);
}

// Class creation, reference counts, COM memory. MIT licence.
#include "interface_ids.h"

#include "platform/posix/comobject.h"
#include "platform/posix/control.h"

#include <cwchar>
#include <gtest/gtest.h>
#include <mmdeviceapi.h>
#include <sapi.h>

using namespace qxplatform;

namespace
{

int liveObjects = 0;

class CountedUnknown : public ComObject<ISpStreamFormat, IID_ISpStreamFormat>
{
public:
    CountedUnknown() { ++liveObjects; }
    ~CountedUnknown() override { --liveObjects; }
    HRESULT GetFormat(GUID*, WAVEFORMATEX**) override { return E_NOTIMPL; }
};

HRESULT CreateStreamFormat(void** object)
{
    return CoCreateInstance(CLSID_SpStream, nullptr, CLSCTX_ALL, IID_ISpStreamFormat, object);
}

bool SameId(const GUID& id, const interface_ids::Bytes& expected)
{
    return id == GUID{expected.data1,
                      expected.data2,
                      expected.data3,
                      {expected.data4[0], expected.data4[1], expected.data4[2], expected.data4[3], expected.data4[4],
                       expected.data4[5], expected.data4[6], expected.data4[7]}};
}

struct Com {
    Com() { CoInitialize(nullptr); }
    ~Com() { CoUninitialize(); }
    const control::Restorer restorer;
};

} // namespace

TEST(Com, IdsAreThePublishedOnes)
{
    EXPECT_TRUE(SameId(IID_IUnknown, interface_ids::kIUnknown));
    EXPECT_TRUE(SameId(CLSID_SpVoice, interface_ids::kSpVoice));
    EXPECT_TRUE(SameId(CLSID_SpObjectTokenCategory, interface_ids::kSpObjectTokenCategory));
    EXPECT_TRUE(SameId(CLSID_SpObjectToken, interface_ids::kSpObjectToken));
    EXPECT_TRUE(SameId(CLSID_SpStream, interface_ids::kSpStream));
    EXPECT_TRUE(SameId(CLSID_MMDeviceEnumerator, interface_ids::kMMDeviceEnumerator));
    EXPECT_TRUE(SameId(IID_IMMDeviceEnumerator, interface_ids::kIMMDeviceEnumerator));
    EXPECT_TRUE(SameId(IID_IMMDevice, interface_ids::kIMMDevice));
    EXPECT_TRUE(SameId(IID_IMMNotificationClient, interface_ids::kIMMNotificationClient));
    EXPECT_TRUE(SameId(IID_ISpVoice, interface_ids::kISpVoice));
    EXPECT_TRUE(SameId(IID_ISpObjectTokenCategory, interface_ids::kISpObjectTokenCategory));
    EXPECT_TRUE(SameId(IID_ISpObjectToken, interface_ids::kISpObjectToken));
    EXPECT_TRUE(SameId(IID_ISpStream, interface_ids::kISpStream));
    EXPECT_TRUE(SameId(IID_ISpStreamFormat, interface_ids::kISpStreamFormat));
    EXPECT_TRUE(SameId(SPDFID_WaveFormatEx, interface_ids::kWaveFormatEx));
}

TEST(Com, ObjectAnswersItsInterfacesAndIsDeletedByTheLastRelease)
{
    CountedUnknown* const object = new CountedUnknown;
    void* other = object;
    EXPECT_EQ(object->QueryInterface(IID_ISpVoice, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    ASSERT_EQ(object->QueryInterface(IID_IUnknown, &other), S_OK);
    EXPECT_EQ(other, static_cast<IUnknown*>(object));
    EXPECT_EQ(object->Release(), 1u);
    EXPECT_EQ(liveObjects, 1);
    EXPECT_EQ(object->Release(), 0u);
    EXPECT_EQ(liveObjects, 0);
}

TEST(Com, CreationNeedsAStartOnTheCallingThread)
{
    const control::Restorer restorer;
    control::SetClassFactory(CLSID_SpStream, CreateObject<CountedUnknown>);
    void* object = &liveObjects;
    EXPECT_EQ(CreateStreamFormat(&object), CO_E_NOTINITIALIZED);
    EXPECT_EQ(object, nullptr);

    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    CoUninitialize();
    ASSERT_EQ(CreateStreamFormat(&object), S_OK) << "the first start still counts";
    EXPECT_EQ(static_cast<ISpStreamFormat*>(object)->Release(), 0u);
    CoUninitialize();
    CoUninitialize(); // one too many does not owe a start
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    CoUninitialize();
}

TEST(Com, FactoriesAreReplacedTakenOutAndRestored)
{
    const Com com;
    control::SetClassFactory(CLSID_SpStream, {});
    void* object = nullptr;
    EXPECT_EQ(CreateStreamFormat(&object), REGDB_E_CLASSNOTREG);

    control::SetClassFactory(CLSID_SpStream, CreateObject<CountedUnknown>);
    ASSERT_EQ(CreateStreamFormat(&object), S_OK);
    EXPECT_EQ(liveObjects, 1);
    static_cast<ISpStreamFormat*>(object)->Release();
    EXPECT_EQ(CoCreateInstance(CLSID_SpStream, nullptr, CLSCTX_ALL, IID_ISpVoice, &object), E_NOINTERFACE);
    EXPECT_EQ(liveObjects, 0) << "an object that lacks the interface is deleted";

    control::SetClassFactory(CLSID_SpObjectToken, {});
    control::RestoreAll();
    ASSERT_EQ(CoCreateInstance(CLSID_SpObjectToken, nullptr, CLSCTX_ALL, IID_ISpObjectToken, &object), S_OK);
    static_cast<ISpObjectToken*>(object)->Release();
}

// COM start-up, class creation, COM memory and the published ids. MIT licence.
#include "platform/posix/com.h"

#include "common/logging.h"

#include <cstdlib>
#include <cwchar>
#include <map>
#include <mutex>
#include <sapi.h>
#include <tuple>

const IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

const CLSID CLSID_SpVoice = {0x96749377, 0x3391, 0x11D2, {0x9E, 0xE3, 0x00, 0xC0, 0x4F, 0x79, 0x73, 0x96}};
const CLSID CLSID_SpObjectTokenCategory = {
    0xA910187F, 0x0C7A, 0x45AC, {0x92, 0xCC, 0x59, 0xED, 0xAF, 0xB7, 0x7B, 0x53}};
const CLSID CLSID_SpObjectToken = {0xEF411752, 0x3736, 0x4CB4, {0x9C, 0x8C, 0x8E, 0xF4, 0xCC, 0xB5, 0x8E, 0xFE}};
const CLSID CLSID_SpStream = {0x715D9C59, 0x4442, 0x11D2, {0x96, 0x05, 0x00, 0xC0, 0x4F, 0x8E, 0xE6, 0x28}};
const IID IID_ISpVoice = {0x6C44DF74, 0x72B9, 0x4992, {0xA1, 0xEC, 0xEF, 0x99, 0x6E, 0x04, 0x22, 0xD4}};
const IID IID_ISpObjectTokenCategory = {0x2D3D3845, 0x39AF, 0x4850, {0xBB, 0xF9, 0x40, 0xB4, 0x97, 0x80, 0x01, 0x1D}};
const IID IID_ISpObjectToken = {0x14056589, 0xE16C, 0x11D2, {0xBB, 0x90, 0x00, 0xC0, 0x4F, 0x8E, 0xE6, 0xC0}};
const IID IID_ISpStream = {0x12E3CCA9, 0x7518, 0x44C5, {0xA5, 0xE7, 0xBA, 0x5A, 0x79, 0xCB, 0x92, 0x9E}};
const IID IID_ISpStreamFormat = {0xBED530BE, 0x2606, 0x4F4D, {0xA1, 0xC0, 0x54, 0xC5, 0xCD, 0xA5, 0x56, 0x6F}};
const GUID SPDFID_WaveFormatEx = {0xC31ADBAE, 0x527F, 0x4FF5, {0xA2, 0x30, 0xF6, 0x2B, 0xB6, 0x1F, 0xF7, 0x0C}};

namespace qxplatform
{

namespace
{

struct GuidLess {
    bool operator()(const GUID& a, const GUID& b) const { return Key(a) < Key(b); }

private:
    static std::tuple<uint32_t, uint16_t, uint16_t, uint64_t> Key(const GUID& guid)
    {
        uint64_t tail = 0;
        for (const uint8_t byte : guid.Data4)
            tail = tail << 8 | byte;
        return {guid.Data1, guid.Data2, guid.Data3, tail};
    }
};

using FactoryMap = std::map<CLSID, ClassFactory, GuidLess>;

FactoryMap DefaultFactories()
{
    FactoryMap factories;
    for (const DefaultClass& item : DefaultClasses())
        factories[*item.clsid] = item.factory;
    return factories;
}

struct ClassTable {
    std::mutex lock;
    FactoryMap factories = DefaultFactories(); // guarded by lock
};

ClassTable& Table()
{
    static ClassTable* const table = new ClassTable; // never destroyed: exit handlers may still create objects
    return *table;
}

ClassFactory FindFactory(REFCLSID clsid)
{
    ClassTable& table = Table();
    const std::lock_guard<std::mutex> guard(table.lock);
    const auto found = table.factories.find(clsid);
    return found == table.factories.end() ? ClassFactory() : found->second;
}

// How often this thread has started COM.
thread_local ULONG comStarts = 0;

} // namespace

ClassFactory RegisterClass(REFCLSID clsid, ClassFactory factory)
{
    ClassTable& table = Table();
    const std::lock_guard<std::mutex> guard(table.lock);
    ClassFactory former;
    const auto found = table.factories.find(clsid);
    if (found != table.factories.end()) {
        former = std::move(found->second);
        table.factories.erase(found);
    }
    if (factory)
        table.factories.emplace(clsid, std::move(factory));
    return former;
}

void RestoreDefaultClasses()
{
    FactoryMap factories = DefaultFactories(); // the former ones are destroyed outside the lock
    ClassTable& table = Table();
    const std::lock_guard<std::mutex> guard(table.lock);
    table.factories.swap(factories);
}

LPWSTR CoTaskString(const std::wstring& text)
{
    const size_t bytes = (text.size() + 1) * sizeof(WCHAR);
    const LPWSTR copy = static_cast<LPWSTR>(CoTaskMemAlloc(bytes));
    if (copy)
        std::wmemcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

} // namespace qxplatform

HRESULT CoInitialize(LPVOID)
{
    return qxplatform::comStarts++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize()
{
    if (qxplatform::comStarts > 0)
        --qxplatform::comStarts;
}

HRESULT CoCreateInstance(REFCLSID clsid, LPUNKNOWN outer, DWORD, REFIID iid, LPVOID* object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (qxplatform::comStarts == 0 && qxplatform::NeedsStart(clsid))
        return CO_E_NOTINITIALIZED;
    if (outer)
        return CLASS_E_NOAGGREGATION;
    const qxplatform::ClassFactory factory = qxplatform::FindFactory(clsid);
    if (!factory) {
        QX_LOG("No class is registered under {%08x-%04x-%04x-...}", static_cast<unsigned>(clsid.Data1),
               static_cast<unsigned>(clsid.Data2), static_cast<unsigned>(clsid.Data3));
        return REGDB_E_CLASSNOTREG;
    }
    return factory(iid, object);
}

LPVOID CoTaskMemAlloc(size_t size)
{
    return std::malloc(size);
}

void CoTaskMemFree(LPVOID memory)
{
    std::free(memory);
}

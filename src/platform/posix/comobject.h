// Reference counting and QueryInterface for the platform's own COM objects. MIT licence.
#ifndef QXSPEECH_PLATFORM_COMOBJECT_H
#define QXSPEECH_PLATFORM_COMOBJECT_H

#include <atomic>
#include <windows.h>

namespace qxplatform
{

// Base of an object with one interface chain: Interface and its bases, Ids their ids (IUnknown is always answered).
// Made by new with one reference, deleted by the last Release, on whatever thread that comes. The counts may change on
// any thread.
template <class Interface, const IID&... Ids>
class ComObject : public Interface
{
public:
    ComObject() = default;
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) override
    {
        if (!object)
            return E_POINTER;
        *object = nullptr;
        if (!((iid == IID_IUnknown) || ... || (iid == Ids)))
            return E_NOINTERFACE;
        AddRef();
        *object = static_cast<Interface*>(this);
        return S_OK;
    }

    ULONG AddRef() override { return references.fetch_add(1, std::memory_order_relaxed) + 1; }

    ULONG Release() override
    {
        const ULONG left = references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    virtual ~ComObject() = default;

private:
    std::atomic<ULONG> references{1};
};

} // namespace qxplatform

#endif

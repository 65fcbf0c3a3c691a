// The class table behind CoCreateInstance and small helpers for COM memory. MIT licence.
#ifndef QXSPEECH_PLATFORM_COM_H
#define QXSPEECH_PLATFORM_COM_H

#include <functional>
#include <string>
#include <utility>
#include <vector>
#include <windows.h>

namespace qxplatform
{

// Makes one object and hands out the interface asked for. On failure *object is null.
using ClassFactory = std::function<HRESULT(REFIID, void**)>;

// Puts a factory behind a class id and returns the former one; an empty factory takes the class out of the table. The
// table is made by the first call, with the classes that class_table.cpp lists, and is never destroyed, so that exit
// handlers still find it. Any thread.
ClassFactory RegisterClass(REFCLSID clsid, ClassFactory factory);

// The table as it was at the start.
void RestoreDefaultClasses();

// The default factories, in class_table.cpp.
struct DefaultClass {
    const CLSID* clsid;
    HRESULT (*factory)(REFIID, void**);
    bool needsStart; // CoInitialize on the thread; a host that only plays media has no way to call it here
};
const std::vector<DefaultClass>& DefaultClasses();
bool NeedsStart(REFCLSID clsid);

// Makes a T, asks it for an interface and lets go of the first reference. T derives from ComObject.
template <class T, class... Args>
HRESULT CreateObject(REFIID iid, void** object, Args&&... args)
{
    T* const made = new T(std::forward<Args>(args)...);
    const HRESULT hr = made->QueryInterface(iid, object);
    made->Release();
    return hr;
}

// A copy of the text in COM memory, to be freed by CoTaskMemFree. Null if there is no memory.
LPWSTR CoTaskString(const std::wstring& text);

} // namespace qxplatform

#endif

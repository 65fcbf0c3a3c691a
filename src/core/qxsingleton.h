// A process-wide object, built on first use and destroyed on demand or at exit. MIT licence.
#ifndef QXSPEECH_CORE_QXSINGLETON_H
#define QXSPEECH_CORE_QXSINGLETON_H

#include <atomic>
#include <cstdlib>
#include <wx/thread.h>

#include "../common/export.h"

// Base of a class T of which there is at most one object. Get() builds it and owns it; DestroyInstance(), called by the
// host or by the exit handler that the first Get() registers, deletes it. Both may be called from any thread; what T
// itself does has no lock here. After DestroyInstance() the next Get() builds a new object, and pointers from earlier
// calls are dead. One object for library and host: the header of T declares the instantiation extern, and one source
// file of T's library makes it.
template <class T>
class QXSPEECH_API QXSingleton
{
public:
    // Never null. The constructor of T runs under the lock.
    static T* Get();
    // Does nothing without an object. The destructor of T runs under the lock.
    static void DestroyInstance();

protected:
    QXSingleton() {}
    QXSingleton(const QXSingleton&) {}
    QXSingleton& operator=(const QXSingleton&) { return *this; }
    virtual ~QXSingleton() {}

    static std::atomic<T*> m_pInstance; // written under m_critsect, read without it
    static wxCriticalSection m_critsect;

private:
    static void AtExit();

    static bool m_isAtExitDue; // guarded by m_critsect
};

template <class T>
std::atomic<T*> QXSingleton<T>::m_pInstance{nullptr};

template <class T>
wxCriticalSection QXSingleton<T>::m_critsect;

template <class T>
bool QXSingleton<T>::m_isAtExitDue = false;

template <class T>
T* QXSingleton<T>::Get()
{
    T* instance = m_pInstance;
    if (instance)
        return instance;
    const wxCriticalSectionLocker lock(m_critsect);
    instance = m_pInstance;
    if (!instance) {
        instance = new T;
        m_pInstance = instance;
        if (!m_isAtExitDue)
            m_isAtExitDue = std::atexit(&QXSingleton<T>::AtExit) == 0;
    }
    return instance;
}

// An object that a later exit handler builds asks for this once more.
template <class T>
void QXSingleton<T>::AtExit()
{
    const wxCriticalSectionLocker lock(m_critsect);
    m_isAtExitDue = false;
    DestroyInstance();
}

template <class T>
void QXSingleton<T>::DestroyInstance()
{
    const wxCriticalSectionLocker lock(m_critsect);
    delete m_pInstance.load();
    m_pInstance = nullptr;
}

#endif

// A process-wide object, built on first use and destroyed on demand or at exit. MIT licence.
#ifndef QXSPEECH_CORE_QXSINGLETON_H
#define QXSPEECH_CORE_QXSINGLETON_H

#include <cstdlib>
#include <wx/thread.h>

#include "common/export.h"

// Base of a class T of which there is at most one object. Get() builds it and owns it; DestroyInstance(), called by the
// host or by the exit handler that the first Get() of an instance registers, deletes it. Both may be called from any
// thread; what T itself does has no lock here. After DestroyInstance() the next Get() builds a new object, and pointers
// from earlier calls are dead.
template <class T>
class QXSPEECH_API QXSingleton
{
public:
    // Never null. The constructor of T runs under the lock.
    static T* Get()
    {
        if (!m_pInstance) {
            wxCriticalSectionLocker lock(m_critsect);
            if (!m_pInstance) {
                m_pInstance = new T;
                std::atexit(&QXSingleton<T>::DestroyInstance);
            }
        }
        return m_pInstance;
    }

    static void DestroyInstance()
    {
        wxCriticalSectionLocker lock(m_critsect);
        delete m_pInstance;
        m_pInstance = nullptr;
    }

protected:
    QXSingleton() {}
    QXSingleton(const QXSingleton&) {}
    QXSingleton& operator=(const QXSingleton&) { return *this; }
    virtual ~QXSingleton() {}

    static T* m_pInstance;
    static wxCriticalSection m_critsect;
};

#endif

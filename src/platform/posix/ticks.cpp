// The tick counter. MIT licence.
#include <mmsystem.h>

#include <chrono>

DWORD timeGetTime()
{
    using namespace std::chrono;
    return static_cast<DWORD>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

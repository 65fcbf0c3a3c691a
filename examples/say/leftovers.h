// Temporary files and folders that outlive a killed process are removed by a later one. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_LEFTOVERS_H
#define QXSPEECH_EXAMPLES_SAY_LEFTOVERS_H

#include <string>

namespace say
{

// The beginning of the name of whatever the program makes for a while.
extern const char kTemporaryPrefix[];

// Holds the lock that tells others that the file or folder is in use, until the descriptor is closed, at the latest by
// the end of the process. -1 if it is not there any more, or cannot be locked.
int HoldLock(const std::string& path);

// Removes from the folder what processes of this user made there and left: its name is as above, and nobody holds its
// lock. What cannot be removed stays.
void RemoveLeftovers(const std::string& folder);

} // namespace say

#endif

// Memory for many tags of one document, taken and given back in large pieces. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSTAGSLAB_H
#define QXSPEECH_SPEECH_TTSTAGSLAB_H

#include <cstddef>

class TagSlab;

// Where a parser's next tags come from; each tag keeps its piece alive, so tags may outlive it. Used by its parser
// only, on one thread.
class TagSlabs
{
public:
    TagSlabs() : m_current(nullptr) {}
    TagSlabs(const TagSlabs&) = delete;
    TagSlabs& operator=(const TagSlabs&) = delete;
    ~TagSlabs() { Release(); }

    void* Allocate(size_t bytes);
    // Takes no more tags from the present piece.
    void Release();

private:
    TagSlab* m_current; // shared with the tags in it
};

// A block of its own. Either kind is freed by FreeTagMemory, on any thread.
void* AllocateTagMemory(size_t bytes);
void FreeTagMemory(void* memory);

#endif

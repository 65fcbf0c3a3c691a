// Generated HTML of a book, the same for the same seed: input for tests, fuzzing and benchmarks. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_BOOK_HTML_H
#define QXSPEECH_TESTS_SUPPORT_BOOK_HTML_H

#include <cstddef>
#include <cstdint>
#include <string>

struct BookHtml {
    size_t bytes = 100000;  // at least; the text ends with the element in which it got there
    std::uint32_t seed = 1; // any number
    bool malformed = true;  // with unclosed tags, stray brackets and quotes, and comments within comments
    bool ascii = false;     // without letters beyond ASCII
};

// UTF-8, lines ended by "\n". Chapters of headings, paragraphs with inline tags and entities, nested lists, tables,
// links, scripts, styles and comments.
std::string MakeBookHtml(const BookHtml& book);

#endif

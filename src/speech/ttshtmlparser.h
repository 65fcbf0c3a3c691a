// Tolerant one-pass scanner of HTML: a document becomes one flat chain of tags, entities and text runs. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSHTMLPARSER_H
#define QXSPEECH_SPEECH_TTSHTMLPARSER_H

#include <new>
#include <wx/object.h>
#include <wx/string.h>

#include "../common/export.h"

class WXDLLIMPEXP_FWD_BASE wxOutputStream;
class TagSlabs;

enum wxTTSSimpleHtmlTagType {
    wxTTSTagText = 0,      // a text run, named "TEXT"
    wxTTSTagTopLevel = 1,  // the parent of the whole document, named "TOPLEVEL"
    wxTTSTagOpen = 2,      // <name attributes>
    wxTTSTagClose = 3,     // </name>
    wxTTSTagDirective = 4, // <!name attributes>
    wxTTSTagEntity = 5     // &name;
};

// One attribute of a tag, a member of its singly linked list. Made by AppendAttribute or by the host; a tag deletes
// those in its list. No locks: belongs to the thread of its tag. Names and values compare without regard to case.
class QXSPEECH_API wxTTSSimpleHtmlAttribute
{
public:
    wxTTSSimpleHtmlAttribute(const wxString& name, const wxString& value);
    // A copy shows on the same next attribute and owns nothing.
    wxTTSSimpleHtmlAttribute(const wxTTSSimpleHtmlAttribute& other) = default;
    wxTTSSimpleHtmlAttribute& operator=(const wxTTSSimpleHtmlAttribute& other);

    const wxString& GetName() const { return m_name; }
    const wxString& GetValue() const { return m_value; }
    bool HasName(const wxString& name) const;
    bool HasValue(const wxString& value) const;

    // Null at the end; owned by the tag whose list this is.
    wxTTSSimpleHtmlAttribute* GetNextAttribute() const { return m_next; }
    // Only links: nothing is deleted, and an attribute that no list reaches any more is the caller's.
    void SetNextAttribute(wxTTSSimpleHtmlAttribute* next);

    // name="value", or the name alone where the value is empty; nothing is escaped. UTF-16, little-endian, without
    // mark.
    void Write(wxOutputStream& stream) const;

private:
    friend class wxTTSSimpleHtmlTag;
    friend class wxTTSSimpleHtmlParser;

    wxString m_name;
    wxString m_value;
    wxTTSSimpleHtmlAttribute* m_next; // owned by the tag
};

// One piece of a document: a tag, a directive, an entity or a text run. Made by the parser or the host; its parent
// deletes it, whoever made it deletes one without a parent, and with a tag go its attributes and children, to any depth
// without recursion. No locks: belongs to one thread at a time, as its tree does. Names and values compare without
// regard to case, the same under every C locale.
class QXSPEECH_API wxTTSSimpleHtmlTag
{
public:
    // type is one of wxTTSSimpleHtmlTagType; others are kept and write nothing.
    wxTTSSimpleHtmlTag(const wxString& name, int type);
    wxTTSSimpleHtmlTag(const wxTTSSimpleHtmlTag&) = delete;
    wxTTSSimpleHtmlTag& operator=(const wxTTSSimpleHtmlTag&) = delete;
    ~wxTTSSimpleHtmlTag();

    // A parser takes its tags from larger pieces of memory; delete fits every tag, whoever made it.
    static void* operator new(size_t bytes);
    static void* operator new(size_t bytes, const std::nothrow_t&) noexcept;
    static void* operator new(size_t bytes, TagSlabs& slabs);
    static void operator delete(void* memory);
    static void operator delete(void* memory, const std::nothrow_t&) noexcept;
    static void operator delete(void* memory, TagSlabs& slabs);

    // With the case of the document.
    const wxString& GetName() const { return m_name; }
    void SetName(const wxString& name) { m_name = name; }
    bool NameIs(const wxString& name) const;
    int GetType() const { return m_type; }
    void SetType(int type) { m_type = type; }
    // Empty for every type but text.
    const wxString& GetText() const { return m_text; }
    void SetText(const wxString& text) { m_text = text; }

    // The next sibling, null at the end; owned by the parent.
    wxTTSSimpleHtmlTag* GetNext() const { return m_next; }
    // Not owned.
    wxTTSSimpleHtmlTag* GetParent() const { return m_parent; }
    void SetParent(wxTTSSimpleHtmlTag* parent) { m_parent = parent; }

    // The first child, owned; null if there is none. SetChildren takes the chain over and neither deletes the old one
    // nor sets anybody's parent.
    wxTTSSimpleHtmlTag* GetChildren() const { return m_children; }
    void SetChildren(wxTTSSimpleHtmlTag* children);
    // Takes the tag over, puts it behind the last child and becomes its parent. Costs the same however many there are.
    void AppendTag(wxTTSSimpleHtmlTag* tag);
    void ClearChildren();
    // Both walk the chain: readers of a document go along GetNext instead. Null where there are fewer.
    int GetChildCount() const;
    wxTTSSimpleHtmlTag* GetChild(int i) const;

    // The first attribute, owned; null if there is none. SetFirstAttribute takes the list over, the old one is not
    // deleted.
    wxTTSSimpleHtmlAttribute* GetFirstAttribute() const { return m_attributes; }
    void SetFirstAttribute(wxTTSSimpleHtmlAttribute* attribute);
    // Never replaces one of the same name.
    void AppendAttribute(const wxString& name, const wxString& value);
    void ClearAttributes();
    // Both walk the list. Null where there are fewer.
    int GetAttributeCount() const;
    wxTTSSimpleHtmlAttribute* GetAttribute(int i) const;

    // The first attribute of that name, null if there is none; stays owned by the tag.
    wxTTSSimpleHtmlAttribute* FindAttribute(const wxString& name) const;
    bool HasAttribute(const wxString& name) const { return FindAttribute(name) != nullptr; }
    // The first attribute of that name decides.
    bool HasAttribute(const wxString& name, const wxString& value) const;
    // False, with value untouched, if there is no such attribute.
    bool GetAttributeValue(wxString& value, const wxString& name) const;

    // The first later sibling (never this tag) of that name which, unless attrName is empty, has such an attribute;
    // null if there is none.
    wxTTSSimpleHtmlTag* FindTag(const wxString& tagName, const wxString& attrName) const;
    // Appends the text runs from this tag on, up to the closing tag of that name or the end of the chain. Always true.
    bool FindTextUntilTagClose(wxString& text, const wxString& tagName) const;
    // All text runs beneath this tag joined, or its own text if it has no children.
    wxString GetTagText() const;

    // This tag, then what lies beneath it; a line feed follows each tag. UTF-16, little-endian on every platform,
    // without byte-order mark. Nothing is escaped.
    void Write(wxOutputStream& stream) const;

private:
    friend class wxTTSSimpleHtmlParser;

    explicit wxTTSSimpleHtmlTag(int type);
    void LinkAttribute(wxTTSSimpleHtmlAttribute* attribute);
    wxTTSSimpleHtmlTag* FindLastChild();

    wxString m_name;
    int m_type;
    wxString m_text;
    wxTTSSimpleHtmlAttribute* m_attributes; // owned list
    wxTTSSimpleHtmlTag* m_children;         // owned chain
    wxTTSSimpleHtmlTag* m_next;             // owned through the parent's chain
    wxTTSSimpleHtmlTag* m_parent;           // not owned
    // Where the last append ended, so that appending needs no walk; null when not known. Links behind it are followed.
    wxTTSSimpleHtmlAttribute* m_lastAttribute;
    wxTTSSimpleHtmlTag* m_lastChild;
    // The count of attribute lists relinked by hand up to m_lastAttribute's setting; another count makes it unknown.
    unsigned m_relinks;
};

// Turns text into a chain of tags beneath one top-level tag, in document order: closing tags close nothing, comments
// vanish, malformed input gives odd tags and never an error. Made and deleted by its user, often on the stack; it owns
// the document and the tree, which live until the next parse, Clear or its end. No locks: belongs to one thread at a
// time. Positions count wxString characters; a document holds at most 2,147,483,647 of them, further ones are not read.
class QXSPEECH_API wxTTSSimpleHtmlParser : public wxObject
{
    wxDECLARE_CLASS(wxTTSSimpleHtmlParser);

public:
    wxTTSSimpleHtmlParser();
    wxTTSSimpleHtmlParser(const wxTTSSimpleHtmlParser&) = delete;
    wxTTSSimpleHtmlParser& operator=(const wxTTSSimpleHtmlParser&) = delete;
    ~wxTTSSimpleHtmlParser() override;

    // Replaces document and tree. Always true.
    bool ParseString(const wxString& str);
    // The encoding is a name that wxCSConv knows; empty means UTF-8. Every kind of line end becomes "\n", one at the
    // end of the file is lost. False, with a log line and the present document and tree kept, for a file that cannot
    // be read or does not convert from that encoding.
    bool ParseFile(const wxString& filename, const wxString& encoding);
    // Deletes the tree and empties the document.
    void Clear();
    // Null before the first parse; owned by the parser.
    wxTTSSimpleHtmlTag* GetTopLevelTag() const { return m_topLevel; }
    // Nothing without a tree; else as the top-level tag writes itself.
    void Write(wxOutputStream& stream) const;
    // False, with a log line, if the file cannot be opened or written; an empty file without a tree.
    bool WriteFile(wxString& filename) const;

    // The steps of the scanner, each at the present position. Characters are ints, -1 stands for the end.
    bool Eof() const { return Eof(m_position); }
    bool Eof(int pos) const { return pos >= m_length; }
    int GetChar(size_t pos) const;
    // Any number; reading at a negative one or behind the end finds the end.
    void SetPosition(int pos) { m_position = pos; }
    // Whether str comes next, without regard to case; with eatIt the position then moves behind it.
    bool Matches(const wxString& str, bool eatIt);

    // Letters and digits are those of Unicode whatever the C locale is.
    static bool IsWhitespace(int ch) { return ch == ' ' || ch == '\n' || ch == '\r' || ch == '\t'; }
    static bool IsAlpha(int ch);
    static bool IsNumeric(int ch);
    static bool IsWordChar(int ch);
    static bool IsTagStartBracket(int ch) { return ch == '<'; }
    static bool IsTagEndBracket(int ch) { return ch == '>'; }

    bool IsComment() const;
    bool IsDirective() const;
    bool IsTagClose() const;
    bool IsString() const;
    bool IsWord() const;

    // Moves pos over white space, not beyond the end. Always true.
    bool EatWhitespace(int& pos);
    // Moves over white space; unless full, the last character of it stays to be read, if it is no line feed and no tag
    // follows: it then opens a text run. Always true.
    bool EatWhitespace(bool full);

    // Each appends what it reads to str and moves behind it only with eatIt. The first three answer false, with nothing
    // changed, where nothing of their kind begins; ReadLiteral always answers true.
    // Between double quotes, or to the end of the document.
    bool ReadString(wxString& str, bool eatIt);
    bool ReadWord(wxString& str, bool eatIt);
    bool ReadNumber(wxString& str, bool eatIt);
    // Up to white space, ">", "=" or the end; may be nothing.
    bool ReadLiteral(wxString& str, bool eatIt);

    // Appends up to the next "<" or the end. Always true.
    bool ParseText(wxString& text);
    // Moves behind the comment, or to the end. Always true.
    bool ParseComment();
    // The caller owns the new tag. ParseTagHeader answers null where no "<" comes next.
    wxTTSSimpleHtmlTag* ParseDirective();
    wxTTSSimpleHtmlTag* ParseTagHeader();
    wxTTSSimpleHtmlTag* ParseTagClose();
    // Appends to the tag, which stays the caller's, up to ">" or the end. Always true.
    bool ParseAttributes(wxTTSSimpleHtmlTag* tag);
    // Appends the rest of the document to parent, which stays the caller's. Always true.
    bool ParseHtml(wxTTSSimpleHtmlTag* parent);

private:
    struct Run; // characters that one of the Here functions found at the position

    void ParseDocument(wxString& text);
    const wchar_t* Chars() const;
    size_t Here() const;
    bool IsHere(const wchar_t* ascii) const;
    void Step(int count);
    Run StringHere() const;
    Run WordHere() const;
    Run NumberHere() const;
    Run LiteralHere() const;
    bool Take(const Run& run, bool eatIt, wxString& str);
    void ParsePair(wxTTSSimpleHtmlTag* tag);
    wxTTSSimpleHtmlTag* NewTag(int type);
    wxTTSSimpleHtmlTag* ParseNamed(int type);
    wxTTSSimpleHtmlTag* ParseEntity();
    wxTTSSimpleHtmlTag* ParseTextRun();
    wxTTSSimpleHtmlTag* ParseNext();

    wxTTSSimpleHtmlTag* m_topLevel; // owned
    int m_position;                 // index of the next character; may pass the length by one
    int m_length;                   // characters of the document
    wxString m_text;
    TagSlabs* m_slabs; // owned; memory for the tags to come
};

#endif

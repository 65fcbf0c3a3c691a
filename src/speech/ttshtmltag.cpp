// Tags and their attributes: chains with a remembered end, search, and writing. MIT licence.
#include "speech/ttshtmlparser.h"

#include <atomic>
#include <vector>

#include "common/letters.h"
#include "speech/ttstagslab.h"
#include "speech/ttsutf16sink.h"

namespace
{

// Counts the links that hosts have set between attributes: any of them may have cut off the end of a tag's list.
std::atomic<unsigned> relinkCount{0};

void WriteAttribute(Utf16Sink& sink, const wxTTSSimpleHtmlAttribute& attribute)
{
    sink.Put(attribute.GetName());
    if (attribute.GetValue().empty())
        return;
    sink.Put("=\"");
    sink.Put(attribute.GetValue());
    sink.Put("\"");
}

void WriteAttributes(Utf16Sink& sink, const wxTTSSimpleHtmlAttribute* first)
{
    for (const wxTTSSimpleHtmlAttribute* attribute = first; attribute; attribute = attribute->GetNextAttribute()) {
        if (attribute != first)
            sink.Put(" ");
        WriteAttribute(sink, *attribute);
    }
}

void WriteTag(Utf16Sink& sink, const wxTTSSimpleHtmlTag& tag)
{
    switch (tag.GetType()) {
    case wxTTSTagText:
        sink.Put(tag.GetText());
        break;
    case wxTTSTagOpen:
        sink.Put("<");
        sink.Put(tag.GetName());
        sink.Put(tag.GetFirstAttribute() ? " " : "");
        WriteAttributes(sink, tag.GetFirstAttribute());
        sink.Put(">\n");
        break;
    case wxTTSTagClose:
        sink.Put("</");
        sink.Put(tag.GetName());
        sink.Put(">\n");
        break;
    case wxTTSTagDirective:
        sink.Put("<!");
        sink.Put(tag.GetName());
        sink.Put(" ");
        WriteAttributes(sink, tag.GetFirstAttribute());
        sink.Put(">\n");
        break;
    case wxTTSTagEntity:
        sink.Put("&");
        sink.Put(tag.GetName());
        sink.Put(";");
        break;
    default:
        break;
    }
}

// The root, then all beneath it in document order. Hosts build trees of any depth, so the way back is a list of its
// own.
template <class Visit>
void VisitTree(const wxTTSSimpleHtmlTag& root, const Visit& visit)
{
    visit(root);
    std::vector<const wxTTSSimpleHtmlTag*> later;
    const wxTTSSimpleHtmlTag* tag = root.GetChildren();
    while (tag) {
        visit(*tag);
        const wxTTSSimpleHtmlTag* next = tag->GetNext();
        if (tag->GetChildren()) {
            if (next)
                later.push_back(next);
            next = tag->GetChildren();
        }
        if (!next && !later.empty()) {
            next = later.back();
            later.pop_back();
        }
        tag = next;
    }
}

} // namespace

wxTTSSimpleHtmlAttribute::wxTTSSimpleHtmlAttribute(const wxString& name, const wxString& value)
    : m_name(name), m_value(value), m_next(nullptr)
{
}

wxTTSSimpleHtmlAttribute& wxTTSSimpleHtmlAttribute::operator=(const wxTTSSimpleHtmlAttribute& other)
{
    if (this != &other) {
        m_name = other.m_name;
        m_value = other.m_value;
        SetNextAttribute(other.m_next);
    }
    return *this;
}

bool wxTTSSimpleHtmlAttribute::HasName(const wxString& name) const
{
    return qxSameNoCase(m_name, name);
}

bool wxTTSSimpleHtmlAttribute::HasValue(const wxString& value) const
{
    return qxSameNoCase(m_value, value);
}

void wxTTSSimpleHtmlAttribute::SetNextAttribute(wxTTSSimpleHtmlAttribute* next)
{
    if (next == m_next)
        return;
    m_next = next;
    relinkCount.fetch_add(1, std::memory_order_relaxed);
}

void wxTTSSimpleHtmlAttribute::Write(wxOutputStream& stream) const
{
    Utf16Sink sink(stream);
    WriteAttribute(sink, *this);
}

wxTTSSimpleHtmlTag::wxTTSSimpleHtmlTag(const wxString& name, int type) : wxTTSSimpleHtmlTag(type)
{
    m_name = name;
}

wxTTSSimpleHtmlTag::wxTTSSimpleHtmlTag(int type)
    : m_type(type), m_attributes(nullptr), m_children(nullptr), m_next(nullptr), m_parent(nullptr),
      m_lastAttribute(nullptr), m_lastChild(nullptr), m_relinks(0)
{
}

wxTTSSimpleHtmlTag::~wxTTSSimpleHtmlTag()
{
    ClearAttributes();
    ClearChildren();
}

void* wxTTSSimpleHtmlTag::operator new(size_t bytes)
{
    return AllocateTagMemory(bytes);
}

void* wxTTSSimpleHtmlTag::operator new(size_t bytes, const std::nothrow_t&) noexcept
{
    try {
        return AllocateTagMemory(bytes);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* wxTTSSimpleHtmlTag::operator new(size_t bytes, TagSlabs& slabs)
{
    return slabs.Allocate(bytes);
}

void wxTTSSimpleHtmlTag::operator delete(void* memory)
{
    FreeTagMemory(memory);
}

void wxTTSSimpleHtmlTag::operator delete(void* memory, const std::nothrow_t&) noexcept
{
    FreeTagMemory(memory);
}

void wxTTSSimpleHtmlTag::operator delete(void* memory, TagSlabs&)
{
    FreeTagMemory(memory);
}

bool wxTTSSimpleHtmlTag::NameIs(const wxString& name) const
{
    return qxSameNoCase(m_name, name);
}

void wxTTSSimpleHtmlTag::SetChildren(wxTTSSimpleHtmlTag* children)
{
    m_children = children;
    m_lastChild = nullptr;
}

void wxTTSSimpleHtmlTag::AppendTag(wxTTSSimpleHtmlTag* tag)
{
    if (wxTTSSimpleHtmlTag* const last = FindLastChild())
        last->m_next = tag;
    else
        m_children = tag;
    m_lastChild = tag;
    tag->m_parent = this;
}

// Starts from where the last append ended; a chain may since have grown through another tag that shows on it.
wxTTSSimpleHtmlTag* wxTTSSimpleHtmlTag::FindLastChild()
{
    wxTTSSimpleHtmlTag* last = m_lastChild ? m_lastChild : m_children;
    while (last && last->m_next)
        last = last->m_next;
    m_lastChild = last;
    return last;
}

// A child's own children are put in front of its siblings, so that depth needs no stack.
void wxTTSSimpleHtmlTag::ClearChildren()
{
    wxTTSSimpleHtmlTag* next = m_children;
    SetChildren(nullptr);
    while (wxTTSSimpleHtmlTag* const child = next) {
        next = child->m_next;
        if (wxTTSSimpleHtmlTag* const last = child->FindLastChild()) {
            last->m_next = next;
            next = child->m_children;
            child->SetChildren(nullptr);
        }
        delete child;
    }
}

int wxTTSSimpleHtmlTag::GetChildCount() const
{
    int count = 0;
    for (const wxTTSSimpleHtmlTag* child = m_children; child; child = child->m_next)
        ++count;
    return count;
}

wxTTSSimpleHtmlTag* wxTTSSimpleHtmlTag::GetChild(int i) const
{
    if (i < 0)
        return nullptr;
    wxTTSSimpleHtmlTag* child = m_children;
    for (; child && i > 0; --i)
        child = child->m_next;
    return child;
}

void wxTTSSimpleHtmlTag::SetFirstAttribute(wxTTSSimpleHtmlAttribute* attribute)
{
    m_attributes = attribute;
    m_lastAttribute = nullptr;
}

void wxTTSSimpleHtmlTag::AppendAttribute(const wxString& name, const wxString& value)
{
    LinkAttribute(new wxTTSSimpleHtmlAttribute(name, value));
}

void wxTTSSimpleHtmlTag::LinkAttribute(wxTTSSimpleHtmlAttribute* attribute)
{
    const unsigned relinks = relinkCount.load(std::memory_order_relaxed);
    wxTTSSimpleHtmlAttribute* last = m_lastAttribute && m_relinks == relinks ? m_lastAttribute : m_attributes;
    while (last && last->m_next)
        last = last->m_next;
    if (last)
        last->m_next = attribute;
    else
        m_attributes = attribute;
    m_lastAttribute = attribute;
    m_relinks = relinks;
}

void wxTTSSimpleHtmlTag::ClearAttributes()
{
    wxTTSSimpleHtmlAttribute* next = m_attributes;
    SetFirstAttribute(nullptr);
    while (const wxTTSSimpleHtmlAttribute* const attribute = next) {
        next = attribute->m_next;
        delete attribute;
    }
}

int wxTTSSimpleHtmlTag::GetAttributeCount() const
{
    int count = 0;
    for (const wxTTSSimpleHtmlAttribute* attribute = m_attributes; attribute; attribute = attribute->m_next)
        ++count;
    return count;
}

wxTTSSimpleHtmlAttribute* wxTTSSimpleHtmlTag::GetAttribute(int i) const
{
    if (i < 0)
        return nullptr;
    wxTTSSimpleHtmlAttribute* attribute = m_attributes;
    for (; attribute && i > 0; --i)
        attribute = attribute->m_next;
    return attribute;
}

wxTTSSimpleHtmlAttribute* wxTTSSimpleHtmlTag::FindAttribute(const wxString& name) const
{
    wxTTSSimpleHtmlAttribute* attribute = m_attributes;
    while (attribute && !attribute->HasName(name))
        attribute = attribute->m_next;
    return attribute;
}

bool wxTTSSimpleHtmlTag::HasAttribute(const wxString& name, const wxString& value) const
{
    const wxTTSSimpleHtmlAttribute* const attribute = FindAttribute(name);
    return attribute && attribute->HasValue(value);
}

bool wxTTSSimpleHtmlTag::GetAttributeValue(wxString& value, const wxString& name) const
{
    const wxTTSSimpleHtmlAttribute* const attribute = FindAttribute(name);
    if (attribute)
        value = attribute->GetValue();
    return attribute != nullptr;
}

wxTTSSimpleHtmlTag* wxTTSSimpleHtmlTag::FindTag(const wxString& tagName, const wxString& attrName) const
{
    wxTTSSimpleHtmlTag* tag = m_next;
    while (tag && !(tag->NameIs(tagName) && (attrName.empty() || tag->HasAttribute(attrName))))
        tag = tag->m_next;
    return tag;
}

bool wxTTSSimpleHtmlTag::FindTextUntilTagClose(wxString& text, const wxString& tagName) const
{
    for (const wxTTSSimpleHtmlTag* tag = this; tag; tag = tag->m_next) {
        if (tag->m_type == wxTTSTagClose && tag->NameIs(tagName))
            break;
        if (tag->m_type == wxTTSTagText)
            text += tag->m_text;
    }
    return true;
}

wxString wxTTSSimpleHtmlTag::GetTagText() const
{
    wxString text;
    VisitTree(*this, [&text](const wxTTSSimpleHtmlTag& tag) {
        if (!tag.GetChildren() && tag.GetType() == wxTTSTagText)
            text += tag.GetText();
    });
    return text;
}

void wxTTSSimpleHtmlTag::Write(wxOutputStream& stream) const
{
    Utf16Sink sink(stream);
    VisitTree(*this, [&sink](const wxTTSSimpleHtmlTag& tag) { WriteTag(sink, tag); });
}

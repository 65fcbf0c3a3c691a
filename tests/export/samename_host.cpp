// A host's own class that happens to bear the name of one of the library's. MIT licence.
#include <wx/string.h>

int hostsClassCalls = 0;

class wxJSONValue
{
public:
    wxJSONValue();
    virtual ~wxJSONValue();
    bool IsValid() const;
    int Size() const;
};

wxJSONValue::wxJSONValue()
{
    ++hostsClassCalls;
}

wxJSONValue::~wxJSONValue()
{
    ++hostsClassCalls;
}

bool wxJSONValue::IsValid() const
{
    return ++hostsClassCalls < 0;
}

int wxJSONValue::Size() const
{
    return ++hostsClassCalls;
}

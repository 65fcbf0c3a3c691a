// Reading JSON in the services: short names for what they need. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_JSONREADER_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_JSONREADER_H

#include <rapidjson/document.h>
#include <string>

namespace loopback
{

inline bool ParseJson(const std::string& text, rapidjson::Document& document)
{
    document.Parse<rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());
    return !document.HasParseError();
}

// Null if there is no such member, or the value is no object.
inline const rapidjson::Value* Member(const rapidjson::Value& value, const char* name)
{
    if (!value.IsObject())
        return nullptr;
    const auto found = value.FindMember(name);
    return found == value.MemberEnd() ? nullptr : &found->value;
}

inline std::string StringMember(const rapidjson::Value& value, const char* name)
{
    const rapidjson::Value* member = Member(value, name);
    return member && member->IsString() ? std::string(member->GetString(), member->GetStringLength()) : std::string();
}

inline double NumberMember(const rapidjson::Value& value, const char* name, double otherwise)
{
    const rapidjson::Value* member = Member(value, name);
    return member && member->IsNumber() ? member->GetDouble() : otherwise;
}

} // namespace loopback

#endif

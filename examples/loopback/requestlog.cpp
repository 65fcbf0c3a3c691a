// Headers that hold a secret are named here; so are parameters of a query. MIT licence.
#include "requestlog.h"

#include <algorithm>
#include <cctype>

namespace loopbacktool
{
namespace
{

constexpr std::size_t kMaxBody = 2000;
const char* const kMask = "***";

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

bool IsSecret(const std::string& name)
{
    static const char* const kSecret[] = {"authorization", "proxy-authorization", "ocp-apim-subscription-key",
                                          "x-goog-api-key", "x-amz-security-token"};
    return std::find(std::begin(kSecret), std::end(kSecret), Lower(name)) != std::end(kSecret);
}

// The scheme is no secret, and tells a reader which way was taken.
std::string Masked(const std::string& value)
{
    const std::size_t blank = value.find(' ');
    return blank == std::string::npos ? kMask : value.substr(0, blank + 1) + kMask;
}

// Each value of the query goes: no service here needs one but the key.
std::string MaskedTarget(const std::string& target)
{
    const std::size_t mark = target.find('?');
    if (mark == std::string::npos)
        return target;
    std::string result = target.substr(0, mark);
    bool isValue = false;
    for (const char letter : target.substr(mark)) {
        if (letter == '&')
            isValue = false;
        if (!isValue)
            result += letter;
        if (letter == '=' && !isValue) {
            result += kMask;
            isValue = true;
        }
    }
    return result;
}

std::string Printable(std::string text)
{
    for (char& letter : text)
        if (static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f)
            letter = '?';
    return text;
}

} // namespace

std::string Describe(const loopback::Request& request)
{
    const std::string where = request.toProxy ? request.target : request.host + MaskedTarget(request.target);
    const std::string status = request.status == 0 ? "no answer" : std::to_string(request.status);
    std::string text = Printable(request.method + " " + where) + " -> " + status + "\n";
    for (const auto& [name, value] : request.headers)
        text += "    " + Printable(name + ": " + (IsSecret(name) ? Masked(value) : value)) + "\n";
    if (request.body.size() > kMaxBody)
        text += "    (" + std::to_string(request.body.size()) + " bytes) ";
    else if (!request.body.empty())
        text += "    ";
    if (!request.body.empty())
        text += Printable(request.body.substr(0, kMaxBody)) + "\n";
    return text;
}

} // namespace loopbacktool

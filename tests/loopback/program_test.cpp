// The program that runs the services for a developer: what it prints can be used, what it logs keeps the keys. MIT
// licence.
#include "curl_client.h"
#include "requestlog.h"

namespace
{

// As a developer would: start it, take over the environment, ask, end it.
const char* const kScript = R"(
cd "$1" || exit 99
"$2" --verbose >out 2>err & program=$!
tries=0
until grep -q 'Ctrl-C' out; do
    tries=$((tries + 1)); [ $tries -gt 300 ] && exit 98
    sleep 0.1
done
. ./out
proxy=$(sed -n 's/.*--proxy \([^ ]*\).*/\1/p' out | head -n 1)
"$3" -q -sS --noproxy '' --proxy "$proxy" --cacert "$SSL_CERT_FILE" -H "X-Goog-Api-Key: $GOOGLE_API_KEY" \
    https://texttospeech.googleapis.com/v1/voices >voices
echo "curl $?"
kill -TERM $program
wait $program
echo "program $?"
[ -e "$SSL_CERT_FILE" ] || echo "certificate gone"
)";

class LoopbackProgram : public LoopbackTest
{
};

TEST_F(LoopbackProgram, PrintsAnEnvironmentThatAShellTakes)
{
    ChildProcess shell;
    shell.arguments = {"/bin/sh", "-c", kScript, "sh", m_folder.Path(), QX_LOOPBACK_PROGRAM, QX_CURL_PROGRAM};
    const ChildProcess::Result result = shell.Run();
    EXPECT_EQ(result.out, "curl 0\nprogram 130\ncertificate gone\n") << result.err;
    EXPECT_NE(ReadWhole(m_folder / "voices").find("en-US-Standard-C"), std::string::npos);
    const std::string log = ReadWhole(m_folder / "err");
    EXPECT_NE(log.find("GET texttospeech.googleapis.com/v1/voices -> 200"), std::string::npos) << log;
    EXPECT_NE(log.find("X-Goog-Api-Key: ***\n"), std::string::npos) << log;
    EXPECT_EQ(log.find(loopback::Credentials().googleKey), std::string::npos) << log;
}

TEST(LoopbackProgramLog, HoldsNoSecretAndSteersNoTerminal)
{
    loopback::Request request;
    request.method = "POST";
    request.host = "host";
    request.target = "/path?key=SECRET&a=b=SECRET";
    request.headers = {{"AUTHORIZATION", "Bearer SECRET"},
                       {"Proxy-Authorization", "Basic SECRET"},
                       {"ocp-apim-subscription-key", "SECRET"},
                       {"X-Goog-Api-Key", "SECRET"},
                       {"Accept", "text/\x1b[2J"}};
    request.body = "spoken\r\ntext\x1b[2J";
    EXPECT_EQ(loopbacktool::Describe(request), "POST host/path?key=***&a=*** -> no answer\n"
                                               "    AUTHORIZATION: Bearer ***\n"
                                               "    Proxy-Authorization: Basic ***\n"
                                               "    ocp-apim-subscription-key: ***\n"
                                               "    X-Goog-Api-Key: ***\n"
                                               "    Accept: text/?[2J\n"
                                               "    spoken??text?[2J\n");
}

} // namespace

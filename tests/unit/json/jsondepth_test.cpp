// A million levels on a thread with a small stack. MIT licence.
#include <functional>

#include <gtest/gtest.h>
#include <pthread.h>

#include "json/jsondocument.h"
#include "json/jsonwriter.h"

namespace
{

const size_t kDepth = 1'000'000;
const size_t kSmallerDepth = 50'000; // enough to run off the stack at six bytes a level
const size_t kStackBytes = 256 * 1024;

void* RunFunction(void* function)
{
    (*static_cast<std::function<void()>*>(function))();
    return nullptr;
}

void OnSmallStack(std::function<void()> function)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStackBytes), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, RunFunction, &function), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

wxString Nested(size_t depth, const char* open, const char* innermost, char close)
{
    std::string text;
    text.reserve(depth * 8);
    for (size_t i = 0; i < depth; ++i)
        text += open;
    text += innermost;
    text.append(depth, close);
    return wxString::FromUTF8(text);
}

class JsonDepth : public testing::TestWithParam<int>
{
protected:
    wxString Text(size_t depth) const
    {
        return GetParam() == 0 ? Nested(depth, "[", "1", ']') : Nested(depth, "{\"a\":", "1", '}');
    }
    static wxString Written(const wxJSONValue& value)
    {
        wxString text;
        wxJSONWriter(0, 0, 3).Write(value, text);
        return text;
    }
    // The member inside, whichever container the parameter chose.
    wxJSONValue& Inner(wxJSONValue& value) const { return GetParam() == 0 ? value.Item(0) : value["a"]; }
};

} // namespace

TEST_P(JsonDepth, ParsesCopiesWritesAndDies)
{
    const wxString text = Text(kDepth);
    bool isSame = false;
    wxString afterChange;
    OnSmallStack([&] {
        wxJSONDocument document;
        wxJSONValue value = document.Parse(text);
        isSame = Written(value) == text;
        wxJSONValue copy = value;
        Inner(copy) = "shallow"; // own body first; the deep rest stays with the other two
        afterChange = Written(copy);
        isSame = isSame && Written(value) == text;
    });
    EXPECT_TRUE(isSame);
    EXPECT_EQ(afterChange, GetParam() == 0 ? "[\"shallow\"]" : "{\"a\":\"shallow\"}");
}

TEST_P(JsonDepth, EachLevelOfACopyIsMadeItsOwn)
{
    const wxString text = Text(kSmallerDepth);
    bool isOriginalSame = false;
    bool isCopyChanged = false;
    OnSmallStack([&] {
        wxJSONDocument document;
        const wxJSONValue original = document.Parse(text);
        wxJSONValue copy = original;
        wxJSONValue* level = &copy;
        for (size_t i = 0; i < kSmallerDepth; ++i)
            level = &Inner(*level);
        *level = 2;
        isOriginalSame = Written(original) == text;
        wxString changed = text;
        changed[changed.find('1')] = '2';
        isCopyChanged = Written(copy) == changed;
    });
    EXPECT_TRUE(isOriginalSame);
    EXPECT_TRUE(isCopyChanged);
}

TEST_P(JsonDepth, EveryWayToDropATreeIsALoop)
{
    const wxString text = Text(kSmallerDepth);
    bool isDone = false;
    OnSmallStack([&] {
        wxJSONDocument document;
        wxJSONValue value = document.Parse(text);
        document.Parse(text); // over a tree that the value still holds
        value = 5;            // a copy of the root goes
        value = document;
        document.Clear();
        value.SetType(wxJSONTYPE_STRING); // and the last one
        value = document.Parse(text);
        document.Clear();
        for (wxJSONValue next = Inner(value); next.Size() > 0; next = Inner(value))
            value = next; // climbs down, dropping a level at a time
        isDone = value.Size() == 1;
    });
    EXPECT_TRUE(isDone);
}

TEST_P(JsonDepth, TextThatBreaksOffAtTheBottomIsKept)
{
    const wxString text = Text(kSmallerDepth);
    const wxString cut = text.substr(0, text.find('1') + 1);
    bool isWhole = false;
    OnSmallStack([&] {
        wxJSONDocument document;
        isWhole = Written(document.Parse(cut)) == text;
    });
    EXPECT_TRUE(isWhole);
}

INSTANTIATE_TEST_SUITE_P(Containers, JsonDepth, testing::Values(0, 1),
                         [](const testing::TestParamInfo<int>& row) { return row.param == 0 ? "Arrays" : "Objects"; });

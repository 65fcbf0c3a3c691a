// Properties, their store and the category guard. MIT licence.
#include "speech/ttsproperties.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace
{

// "name=value" of each property in order.
wxString Contents(const wxTTSProperties& store)
{
    wxString text;
    for (size_t i = 0; i < store.GetCount(); ++i) {
        const wxTTSProperty* const property = store.GetNth(static_cast<int>(i));
        text += (i ? " " : "") + property->GetName() + "=" + property->GetValue();
    }
    return text;
}

wxTTSProperties Letters(const wxString& letters)
{
    wxTTSProperties store;
    for (const wxUniChar letter : letters)
        store.SetProperty(wxString(letter), wxString(letter).Upper());
    return store;
}

wxTTSProperty FullProperty()
{
    wxTTSProperty property("description", wxVariant(3L, "name"), "editor", "group");
    property.SetTranslatedName("Name");
    property.SetParentName("parent");
    property.SetChoices(wxArrayString(2, std::vector<wxString>{"a", "b"}.data()));
    property.SetCategory("category");
    property.Show(false);
    return property;
}

} // namespace

TEST(Property, ConstructorsTakeTheCategoryAsParentExceptForAStringProperty)
{
    const wxTTSPropertyCategory category("Voices");
    EXPECT_EQ(wxTTSProperty().GetParentName(), "Voices");
    EXPECT_EQ(wxTTSProperty("d", wxVariant(1L, "n"), "e", "g").GetParentName(), "Voices");
    EXPECT_EQ(wxTTSProperty("name", "value").GetParentName(), "");
    wxTTSProperties store;
    store.SetProperty("made", true);
    EXPECT_EQ(store.FindProperty("made")->GetParentName(), "");
    EXPECT_EQ(wxTTSProperty().GetCategory(), "");
}

TEST(Property, CopyTakesEverythingButTheCategory)
{
    const wxTTSProperty original = FullProperty();
    wxTTSProperty copy("other", "value");
    copy.SetCategory("kept");
    copy = original;
    EXPECT_EQ(copy, original);
    EXPECT_EQ(copy.GetName(), "name");
    EXPECT_EQ(copy.GetDisplayName(), "Name");
    EXPECT_EQ(copy.GetVariant().GetType(), "long");
    EXPECT_EQ(copy.GetChoices().size(), 2u);
    EXPECT_FALSE(copy.IsShown());
    EXPECT_EQ(copy.GetCategory(), "kept");
    EXPECT_EQ(wxTTSProperty(original).GetCategory(), "");
}

TEST(Property, EqualityLooksAtValueAndMetadataButNotAtNameAndCategory)
{
    struct Row {
        const char* label;
        bool equal;
        std::function<void(wxTTSProperty&)> change;
    };
    const Row rows[] = {
        {"nothing", true, [](wxTTSProperty&) {}},
        {"name", true, [](wxTTSProperty& p) { p.SetName("x"); }},
        {"category", true, [](wxTTSProperty& p) { p.SetCategory("x"); }},
        {"value", false, [](wxTTSProperty& p) { p.GetVariant() = 4L; }},
        {"type of the value", false, [](wxTTSProperty& p) { p.SetValue(wxString("3")); }},
        {"group", false, [](wxTTSProperty& p) { p.SetGroupName("x"); }},
        {"parent", false, [](wxTTSProperty& p) { p.SetParentName("x"); }},
        {"editor", false, [](wxTTSProperty& p) { p.SetEditorType("x"); }},
        {"description", false, [](wxTTSProperty& p) { p.SetDescription("x"); }},
        {"shown", false, [](wxTTSProperty& p) { p.Show(true); }},
        {"translated name", false, [](wxTTSProperty& p) { p.SetTranslatedName("x"); }},
        {"choices, case", false,
         [](wxTTSProperty& p) {
             p.SetChoices(wxArrayString(2, std::vector<wxString>{"a", "B"}.data()));
         }},
        {"choices, order", false,
         [](wxTTSProperty& p) {
             p.SetChoices(wxArrayString(2, std::vector<wxString>{"b", "a"}.data()));
         }},
        {"choices, count", false, [](wxTTSProperty& p) { p.SetChoices(wxArrayString()); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        wxTTSProperty changed = FullProperty();
        row.change(changed);
        EXPECT_EQ(changed == FullProperty(), row.equal);
        EXPECT_EQ(changed != FullProperty(), !row.equal);
    }
}

TEST(Property, ValueAndNameShareTheVariant)
{
    wxTTSProperty property("name", "text");
    property.SetValue(wxVariant(7L, "renamed"));
    EXPECT_EQ(property.GetName(), "renamed");
    EXPECT_EQ(property.GetValue(), "7");
    property.SetValue(wxString("8"));
    EXPECT_EQ(property.GetName(), "renamed");
    EXPECT_EQ(property.GetVariant().GetType(), "string");
    EXPECT_EQ(property.GetDisplayName(), "renamed");
}

TEST(PropertyStore, SetPropertyAppendsOrKeepsThePlaceAndTakesTheType)
{
    wxTTSProperties store = Letters("abc");
    const wxTTSProperty* const b = store.FindProperty("b");
    store.SetProperty("b", 5);
    store.SetProperty("d", 2.5);
    EXPECT_EQ(b, store.FindProperty("b")) << "the object stays";
    EXPECT_EQ(b->GetVariant().GetType(), "long");
    EXPECT_EQ(store.FindPropertyValueLong("b"), 5);
    EXPECT_EQ(store.FindPropertyValueDouble("d"), 2.5);
    EXPECT_EQ(store.FindProperty("B"), nullptr) << "names have case";
    store.SetProperty("a", true);
    EXPECT_TRUE(store.FindPropertyValueBool("a"));
    store.SetProperty("a", "text");
    EXPECT_EQ(store.FindPropertyValue("a").GetType(), "string") << "a literal is text";
    EXPECT_EQ(store.FindPropertyValueString("a"), "text");
    store.SetProperty("c", wxVariant(1L, "z"));
    EXPECT_EQ(store.FindProperty("c"), nullptr) << "a variant brings its name along";
    EXPECT_EQ(store.GetNth(2)->GetName(), "z");
}

TEST(PropertyStore, AbsentNamesReadAsEmptyAndAreNotCreated)
{
    const wxTTSProperties store = Letters("a");
    EXPECT_EQ(store.FindPropertyValueLong("x"), 0);
    EXPECT_EQ(store.FindPropertyValueDouble("x"), 0.0);
    EXPECT_FALSE(store.FindPropertyValueBool("x"));
    EXPECT_EQ(store.FindPropertyValueString("x"), "");
    EXPECT_EQ(store.FindPropertyValue("x").GetType(), "string");
    EXPECT_EQ(store.FindPropertyValue("x").GetName(), "");
    EXPECT_EQ(store.GetNth(1), nullptr);
    EXPECT_EQ(store.GetCount(), 1u);
}

TEST(PropertyStore, AddPropertyPlacesBehindTheNamedOne)
{
    struct Row {
        const char* label;
        const char* name;
        const char* insertAfter;
        const char* contents;
    };
    const Row rows[] = {
        {"no place named", "n", "", "a=A b=B c=C n=new"},
        {"behind the first", "n", "a", "a=A n=new b=B c=C"},
        {"behind the last", "n", "c", "a=A b=B c=C n=new"},
        {"behind an unknown one", "n", "x", "a=A b=B c=C n=new"},
        {"name present: old value, new place", "a", "b", "b=B a=A c=C"},
        {"name present, behind itself", "a", "a", "b=B c=C a=A"},
        {"name present, no place named", "b", "", "a=A c=C b=B"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        wxTTSProperties store = Letters("abc");
        wxTTSProperty* const property = new wxTTSProperty(row.name, "new");
        property->SetDescription("new metadata");
        EXPECT_EQ(store.AddProperty(property, row.insertAfter), property);
        EXPECT_EQ(Contents(store), row.contents);
        EXPECT_EQ(store.FindProperty(row.name), property);
        EXPECT_EQ(property->GetDescription(), "new metadata");
    }
}

TEST(PropertyStore, AddingAPropertyAgainOnlyMovesIt)
{
    wxTTSProperties store = Letters("abc");
    store.AddProperty(store.FindProperty("a"), "b");
    EXPECT_EQ(Contents(store), "b=B a=A c=C");
}

TEST(PropertyStore, CopyKeepsValuesThatAreHereAndMovesThemBehind)
{
    wxTTSProperties store = Letters("abc");
    wxTTSProperties other;
    other.SetProperty("d", "4");
    other.SetProperty("a", "1");
    other.FindProperty("a")->SetDescription("theirs");
    store.Copy(other);
    EXPECT_EQ(Contents(store), "b=B c=C d=4 a=A");
    EXPECT_EQ(store.FindProperty("a")->GetDescription(), "theirs");

    store = other;
    EXPECT_EQ(Contents(store), "d=4 a=1");
    EXPECT_TRUE(store == other);
    store.FindProperty("a")->Show(false);
    EXPECT_FALSE(store == other);
    EXPECT_FALSE(store == Letters("a"));
    wxTTSProperties& self = store;
    store = self;
    EXPECT_EQ(Contents(store), "d=4 a=1");
}

TEST(PropertyStore, DeletesByNamePointerAndIndexAndHandsOutWhatIsRemoved)
{
    wxTTSProperties store = Letters("abcde");
    store.DeleteProperty("b");
    store.DeleteProperty("b");
    store.DeleteProperty(store.FindProperty("d"));
    store.DeleteProperty(static_cast<wxTTSProperty*>(nullptr));
    store.DeleteProperty(size_t(0));
    store.DeleteProperty(size_t(2));
    EXPECT_EQ(Contents(store), "c=C e=E");
    const std::unique_ptr<wxTTSProperty> removed(store.FindProperty("c"));
    store.RemoveProperty(removed.get());
    EXPECT_EQ(removed->GetValue(), "C");
    store.DeleteProperty(new wxTTSProperty("c", "not in the store"));
    EXPECT_EQ(Contents(store), "e=E");
}

TEST(PropertyStore, FindsByDisplayName)
{
    wxTTSProperties store = Letters("ab");
    store.FindProperty("a")->SetTranslatedName("Erste");
    EXPECT_EQ(store.FindPropertyByDisplayName("Erste"), store.FindProperty("a"));
    EXPECT_EQ(store.FindPropertyByDisplayName("a"), nullptr);
    EXPECT_EQ(store.FindPropertyByDisplayName("b"), store.FindProperty("b"));
}

TEST(PropertyStore, CopyingAWholePropertyFindsOrAppendsByItsName)
{
    wxTTSProperties store = Letters("a");
    store.SetProperty(FullProperty());
    ASSERT_EQ(store.GetCount(), 2u);
    EXPECT_EQ(*store.FindProperty("name"), FullProperty());
}

TEST(PropertyStore, IsKnownByClassNameButNotMadeByIt)
{
    EXPECT_TRUE(FullProperty().IsKindOf(wxClassInfo::FindClass("wxTTSProperty")));
    EXPECT_FALSE(wxClassInfo::FindClass("wxTTSProperty")->IsDynamic());
    EXPECT_FALSE(wxClassInfo::FindClass("wxTTSProperties")->IsDynamic());
}

TEST(PropertyCategory, NestedGuardsRestoreTheOuterCategory)
{
    {
        const wxTTSPropertyCategory outer("outer");
        {
            const wxTTSPropertyCategory inner("inner");
            EXPECT_EQ(wxTTSPropertyCategory::sm_category, "inner");
        }
        EXPECT_EQ(wxTTSPropertyCategory::sm_category, "outer");
    }
    EXPECT_EQ(wxTTSPropertyCategory::sm_category, "");
    wxTTSPropertyCategory::BeginCategory("plain");
    EXPECT_EQ(wxTTSPropertyCategory::sm_category, "plain");
    wxTTSPropertyCategory::EndCategory();
    EXPECT_EQ(wxTTSPropertyCategory::sm_category, "");
}

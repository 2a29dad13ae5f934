#include <gtest/gtest.h>
#include <korvel/platform/foundation/URL.h>
#include <array>

namespace korvel::platform {
namespace {

using std::nullopt;

TEST(URLTest, OnlyWhatTheGrammarAllowsIsAnAddress) {
    constexpr const char* refused[] = {
        "",      "a b",         "a\nb",         "\xc3\xa9",   "a\"",         "a<",
        "a>",    "a\\",         "a^",           "a`",         "a{",          "a|",
        "a}",    "a%zz",        "a%2",          "#a#b",       "http://h:x/", "1:/x",
        "a[b:c", "http://[::1", "http://[zz]/", "http://a]b/"};
    for (const auto* text : refused) EXPECT_FALSE(URL::parse(text)) << text;
    EXPECT_FALSE(URL::parse(std::string_view("a\0b", 3)));
    for (const char* text : {"a", "?", "#", "//h", "/", "foo", "../x?y", "a[b]", "?a[]=1", "#[",
                             "http://[::1]/", "mailto:a@b", "./a:b", "http://h/%41", "x?a?b"}) {
        ASSERT_TRUE(URL::parse(text)) << text;
        EXPECT_EQ(URL::parse(text)->absoluteString(), text);
    }
}

TEST(URLTest, ComponentsAreAsWrittenAndAbsentIsNotEmpty) {
    const URL full = *URL::parse("https://u:p@h%41:8443/a/b%20c/?q=[1]#f");
    EXPECT_EQ(full.scheme(), "https");
    EXPECT_EQ(full.host(), "h%41");
    EXPECT_EQ(full.port(), 8443);
    EXPECT_EQ(full.path(), "/a/b%20c/");
    EXPECT_EQ(full.query(), "q=[1]");
    EXPECT_EQ(full.fragment(), "f");
    EXPECT_EQ(full.lastPathComponent(), "b c");
    EXPECT_EQ(URL::parse("x")->scheme(), nullopt);
    EXPECT_EQ(URL::parse("x")->query(), nullopt);
    EXPECT_EQ(URL::parse("x?#")->query(), "");
    EXPECT_EQ(URL::parse("http://[2001:DB8::1]:80/")->host(), "2001:DB8::1");
    EXPECT_EQ(URL::parse("http://h:65536/")->port(), nullopt);
    const std::pair<const char*, const char*> last[] = {
        {"http://h", ""}, {"http://h//", "/"}, {"/", "/"}, {"a", "a"}, {"x/y?z/q", "y"}};
    for (const auto& [text, component] : last) {
        EXPECT_EQ(URL::parse(text)->lastPathComponent(), component) << text;
    }
}

TEST(URLTest, ReferencesResolveAsTheStandardsExamplesDo) {
    constexpr auto base = "http://a/b/c/d;p?q";
    const std::array<const char*, 3> rows[] = {
        {base, "g:h", "g:h"},
        {base, "./g", "http://a/b/c/g"},
        {base, "/g", "http://a/g"},
        {base, "//g", "http://g"},
        {base, "?y", "http://a/b/c/d;p?y"},
        {base, "../../../g", "http://a/g"},
        {base, "g;x=1/../y", "http://a/b/c/y"},
        {base, "g?y/../x#s", "http://a/b/c/g?y/../x#s"},
        {base, "g[1]?x[]=2", "http://a/b/c/g[1]?x[]=2"},
        {"https://h", "oauth/x", "https://h/oauth/x"},
        {"http://[2001:DB8::1]:8/a", "b", "http://[2001:DB8::1]:8/b"}};
    for (const auto& [from, reference, target] : rows) {
        const auto resolved = URL::parse(from)->resolving(reference);
        ASSERT_TRUE(resolved) << from << " " << reference;
        EXPECT_EQ(resolved->absoluteString(), target) << from << " " << reference;
    }
    EXPECT_FALSE(URL::parse(base)->resolving("a b"));
    EXPECT_FALSE(URL::parse(base)->resolving(""));
    EXPECT_FALSE(URL::parse("foo")->resolving("bar")) << "a base needs a scheme";
}

TEST(URLTest, AComponentIsAppendedToThePathAndNothingElse) {
    const std::array<const char*, 3> rows[] = {
        {"https://h", "oauth/login", "https://h/oauth/login"},
        {"https://h/api", "oauth/login", "https://h/api/oauth/login"},
        {"https://h/api//", "/x", "https://h/api/x"},
        {"https://h/api?k=1#f", "x", "https://h/api/x?k=1#f"},
        {"https://h?k=/", "x", "https://h/x?k=/"},
        {"https://h/a/../b", "../x", "https://h/a/../b/../x"},
        {"https://h/", "a b?c#d[%\xc3\xa9", "https://h/a%20b%3Fc%23d%5B%25%C3%A9"}};
    for (const auto& [base, component, result] : rows) {
        const URL appended = URL::parse(base)->appendingPathComponent(component);
        EXPECT_EQ(appended.absoluteString(), result);
        EXPECT_EQ(URL::parse(result), appended);
    }
}

}  // namespace
}  // namespace korvel::platform

#include "tests/cli/unit/convert_fixture.h"

namespace brindlex::cli {
namespace {

class JsonInputTest : public ConvertTest {
 protected:
  void Gives(std::string_view wanted, std::string_view json, const JsonStyle& style = {}) {
    for (const std::size_t portion : {1U, 3U, 1000U}) {
      portion_ = portion;
      EXPECT_EQ(Delimited(wanted), FromJson(json, style)) << json;
    }
  }

  void Refuses(std::string_view why, std::string_view json) {
    const std::string refusal = RefusalOf([&] { FromJson(json); });
    EXPECT_NE(std::string::npos, refusal.find(why)) << json << "\n" << refusal;
  }
};

TEST_F(JsonInputTest, TakesEveryShape) {
  Gives("a|b|;1|2|;", R"([{"a":"1","b":"2"}])");
  Gives("a|b|;1|2|;3|4|;", R"([{"a":"1","b":"2"}, {"b":"4","a":"3"}])");
  Gives("a|b|;1|2|;", R"([["a","b"],["1","2"]])");
  Gives("a|a|;1|2|;", R"([["a","a"],["1","2"]])");
  Gives("a|b|;", R"([["a","b"]])");
  Gives("a|;1|;2|;", "{\"a\":\"1\"}\n{\"a\":\"2\"}\n");
  Gives("a|;1|;2|;", R"({"a":"1"}{"a":"2"})");
  Gives("|;1|;", R"([{"":"1"}])");
  Gives("", "[]");
  Gives("", "{}");
  Gives("", "");
  Gives("", " \n");
  Gives("DataString|Name|;a<>1<>|Items|;|Empty|;", R"({"Items":[{"a":"1"}],"Empty":[]})");
  Gives("DataString|Name|;a<>1<>|Items|;", R"({"Items":[["a"],["1"]]})");
  Gives("a|;1|;", "\xEF\xBB\xBF[{\"a\":\"1\"}]");
}

TEST_F(JsonInputTest, TakesValuesAsTheirText) {
  Gives("a|b|c|d|e|f|;True|False|12|-3|1.50|1E+2|;",
        R"([{"a":true,"b":false,"c":12,"d":-3,"e":1.50,"f":1E+2}])");
  Gives("a|;18446744073709551616|;", R"([{"a":18446744073709551616}])");
  Gives("a|b|;1E400|-0.00|;", R"([{"a":1E400,"b":-0.00}])");
  Gives("a|;" + std::string(400, '9') + "|;", "[[\"a\"],[" + std::string(400, '9') + "]]");
  Gives("a|;0|;", R"([{"a":-0}])");
  Gives("a|;\"\\/\n\xE9|;", R"([{"a":"\"\\\/\n\u00e9"}])");
  JsonStyle style;
  style.null = "none";
  Gives("a|;none|;", R"([{"a":null}])", style);
}

TEST_F(JsonInputTest, RefusesOtherShapes) {
  Refuses("a null", R"([{"a":null}])");
  Refuses("row 2: lacks the value of \"b\"", R"([{"a":"1","b":"2"},{"a":"1"}])");
  Refuses("\"c\", which the first row does not have", R"([{"a":"1"},{"c":"1"}])");
  Refuses("\"a\" twice", R"([{"a":"1","a":"2"}])");
  Refuses("\"a\" twice", R"([{"a":"1"},{"a":"2","a":"3"}])");
  Refuses("no names", "[{}]");
  Refuses("no names", "[[]]");
  Refuses("more than 1 values", R"([["a"],["1","2"]])");
  Refuses("lacks", R"([["a","b"],["1"]])");
  Refuses("an object where a value", R"([{"a":{"b":1}}])");
  Refuses("an object where a value", R"({"a":{"b":1}})");
  Refuses("an array where a value", R"([{"a":[1]}])");
  Refuses("where a row or a collection", R"({"a":[{"b":"1"}],"c":1})");
  Refuses("where a row or a collection", R"(["a"])");
  Refuses("where a row or a collection", "12");
  Refuses("objects and arrays", R"([{"a":"1"},["2"]])");
  Refuses("follows the end", "[] []");
  Refuses("follows the end", R"([{"a":"1"}] x)");
  Refuses("well-formed", "[");
  Refuses("well-formed", R"([{"a":"1"})");
  Refuses("well-formed", R"([{"a":"\ud800"}])");
  Refuses("it is not UTF-8", "[{\"a\":\"\xFF\"}]");
  Refuses("well-formed", "{\"a\":\"1\"}\n{\"a\":");
  Refuses("twice", R"({"Items":[],"items":[]})");
}

TEST_F(JsonInputTest, NamesThePlace) {
  EXPECT_EQ("byte 25, row 2: \"a\" twice in one object",
            RefusalOf([&] { FromJson(R"([{"a":"1"}, {"a":"2", "a":"3"}])"); }));
  EXPECT_NE(std::string::npos, RefusalOf([&] {
                                 FromJson(R"({"X":[{"a":"1"}],"Y":[{"b":null}]})");
                               }).find("row 1 of \"Y\""));
}

TEST_F(JsonInputTest, HoldsWhatComesInAnotherOrderUpToALimit) {
  portion_ = 100'000;
  const std::string value(5'000'000, 'x');
  const std::string first = R"([{"a":")" + value + R"(","b":"1"},)";
  EXPECT_EQ(Delimited("a|b|;" + value + "|1|;2|" + value + "|;"),
            FromJson(first + R"({"b":")" + value + R"(","a":"2"}])"));
  Refuses("row 2: more than 16 MB of values in another order",
          first + R"({"b":")" + value + value + value + value + R"(","a":"2"}])");
}

TEST_F(JsonInputTest, RefusesMoreNamesThanMemoryIsPromisedFor) {
  std::string names;
  for (int name = 0; name < 100'001; ++name) names += "\"" + std::to_string(name) + "\",";
  portion_ = 100'000;
  Refuses("row 1: a header of more than 100,000 names", "[[" + names + "\"\"]]");
  Refuses("a name of more than 8 MB", "[{\"" + std::string().append(9'000'000, 'x') + "\":1}]");
}

TEST_F(JsonInputTest, RefusesAnyDepth) {
  Refuses("where a value", "[" + std::string(100'000, '['));
}

}  // namespace
}  // namespace brindlex::cli

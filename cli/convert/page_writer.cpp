#include "cli/convert/table_writers.h"

#include <string>
#include <utility>
#include <vector>

#include "cli/convert/json_text.h"
#include "cli/convert/page_text.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

/// The page's own text up to `{{name}}`, which is taken off `rest` together with it.
std::string_view Until(std::string_view& rest, std::string_view name) {
  const std::string slot = "{{" + std::string(name) + "}}";
  const std::size_t at = rest.find(slot);
  const std::string_view before = rest.substr(0, at);
  rest.remove_prefix(at + slot.size());
  return before;
}

/// Appends `text` as HTML, for an element or an attribute in double quotation marks. NUL, which
/// HTML does not have, becomes U+FFFD.
void AppendHtmlText(ByteBuffer& html, std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      case '\r':
        html += "&#13;";
        break;
      case '\0':
        html += "\xEF\xBF\xBD";
        break;
      default:
        html += c;
    }
  }
}

class PageWriter final : public TableWriter {
 public:
  PageWriter(ByteHandler writeBytes, std::string_view title)
      : TableWriter(std::move(writeBytes)), rest_(kPageText) {
    ByteBuffer& page = Buffer();
    const std::string shown = Escaped(title);
    page += Until(rest_, "title");
    AppendHtmlText(page, shown);
    page += Until(rest_, "style");
    page += kPageStyle;
    page += Until(rest_, "title");
    AppendHtmlText(page, shown);
    page += Until(rest_, "data");
  }

  void BeginCollection(std::string_view name) override {
    Buffer() += R"(<script type="application/json" class="collection" data-name=")";
    AppendHtmlText(Buffer(), name);
    Buffer() += "\">\n{\"columns\": [";
    hasRows_ = false;
    rows_ = 0;
  }

  void Header(const std::vector<std::string>& names, std::uint64_t /*offset*/) override {
    for (const std::string& name : names) {
      if (&name != &names.front()) Buffer() += ',';
      AppendJsonString(Buffer(), name, JsonPlace::kPage);
    }
    BeginRows();
  }

  void BeginRow() override {
    Buffer() += rows_++ == 0 ? "\n[" : ",\n[";
    column_ = 0;
  }

  void Value(std::string_view piece, bool isFirst, bool isLast) override {
    ByteBuffer& page = Buffer();
    if (isFirst) {
      if (column_++ > 0) page += ',';
      page += '"';
    }
    AppendJsonPiece(page, piece, JsonPlace::kPage);
    if (isLast) page += '"';
    HandOver();
  }

  void EndRow() override { Buffer() += ']'; }

  void EndCollection() override {
    if (!hasRows_) BeginRows();
    Buffer() += "\n]}\n</script>\n";
  }

  void End() override {
    ByteBuffer& page = Buffer();
    page += Until(rest_, "script");
    page += kPageScript;
    page += rest_;
    HandOverNow();
  }

 private:
  void BeginRows() {
    hasRows_ = true;
    Buffer() += "], \"rows\": [";
  }

  std::string_view rest_;
  bool hasRows_ = false;
  std::uint64_t rows_ = 0;
  std::size_t column_ = 0;
};

}  // namespace

std::unique_ptr<TableWriter> MakePageWriter(ByteHandler writeBytes, std::string_view title) {
  return std::make_unique<PageWriter>(std::move(writeBytes), title);
}

}  // namespace brindlex::cli

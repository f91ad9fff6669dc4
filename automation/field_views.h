#pragma once

#include <cstddef>
#include <iterator>

#include "automation/text.h"

namespace brindlex {

/// The fields of one record of a text, as views into it. The fields follow one another, each ended
/// by a marker, so that their starts determine them.
class FieldViews {
 public:
  /// No fields.
  FieldViews() = default;
  /// `count` fields that start at `starts`, which has one more element: the start that a further
  /// field would have. Each field is ended by a marker of `marker` units. Both the starts and the
  /// text must outlive it.
  FieldViews(const char16_t* const* starts, std::size_t count, std::size_t marker) noexcept
      : starts_(starts), count_(count), marker_(marker) {}

  class const_iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = TextView;
    using difference_type = std::ptrdiff_t;
    using pointer = const TextView*;
    using reference = TextView;

    const_iterator(const char16_t* const* start, std::size_t marker) noexcept
        : start_(start), marker_(marker) {}

    TextView operator*() const noexcept {
      return {start_[0], static_cast<std::size_t>(start_[1] - start_[0]) - marker_};
    }
    const_iterator& operator++() noexcept {
      ++start_;
      return *this;
    }
    const_iterator operator++(int) noexcept {
      const const_iterator before = *this;
      ++start_;
      return before;
    }
    bool operator==(const const_iterator& other) const noexcept { return start_ == other.start_; }

   private:
    const char16_t* const* start_;
    std::size_t marker_;
  };
  using value_type = TextView;
  using const_reference = TextView;

  std::size_t size() const noexcept { return count_; }
  bool empty() const noexcept { return count_ == 0; }
  /// The field with index `index`, which must be below size().
  TextView operator[](std::size_t index) const noexcept {
    return *const_iterator(starts_ + index, marker_);
  }
  const_iterator begin() const noexcept { return {starts_, marker_}; }
  const_iterator end() const noexcept { return {starts_ + count_, marker_}; }

 private:
  const char16_t* const* starts_ = nullptr;
  std::size_t count_ = 0;
  std::size_t marker_ = 0;
};

}  // namespace brindlex

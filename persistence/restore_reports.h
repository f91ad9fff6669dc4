#pragma once

#include <cstdint>

#include "automation/text.h"

namespace brindlex {

/// What AsDelimitedToCollection reports about a text, for whoever predicts it: its captions, the
/// lines at which a text can fail, and the description of a record with more or fewer fields than
/// the header, to which the record's number is added.
inline constexpr TextView kRestoreCaption = u"Error ADTC";
inline constexpr TextView kSplitCaption = u"Application Error";
inline constexpr TextView kFieldCountDescription =
    u"Fields in record don't match field list, record number ";
namespace restore_line {
inline constexpr std::int32_t kSplitRecords = 4;
inline constexpr std::int32_t kSplitFields = 6;
inline constexpr std::int32_t kAddRecord = 8;
}  // namespace restore_line

}  // namespace brindlex

#include "platform/linux/system/Text.h"

#include <unicode/ubrk.h>
#include <unicode/utext.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "platform/Fatal.h"

namespace quorvin {
namespace {

void requireSuccess(UErrorCode status) {
  // ICU reports bad text as text; what fails here is memory or its own data.
  if (U_FAILURE(status) != 0) fatalError(u_errorName(status));
}

}  // namespace

std::string LinuxText::prefix(std::string_view utf8, std::size_t count) {
  // A character takes at least one byte.
  if (utf8.size() <= count) return std::string(utf8);
  // ICU counts break positions in 32 bits.
  const auto length = std::min<std::size_t>(utf8.size(), std::numeric_limits<std::int32_t>::max());
  UErrorCode status = U_ZERO_ERROR;
  const icu::LocalUTextPointer text(
      utext_openUTF8(nullptr, utf8.data(), static_cast<std::int64_t>(length), &status));
  // The empty locale is the root, whose rules are those of UAX #29.
  const icu::LocalUBreakIteratorPointer characters(
      ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status));
  requireSuccess(status);
  ubrk_setUText(characters.getAlias(), text.getAlias(), &status);
  requireSuccess(status);

  std::int32_t end = 0;
  for (std::size_t seen = 0; seen < count; ++seen) {
    end = ubrk_next(characters.getAlias());
    if (end == UBRK_DONE) return std::string(utf8);
  }
  return std::string(utf8.substr(0, static_cast<std::size_t>(end)));
}

}  // namespace quorvin

// SPDX-License-Identifier: Apache-2.0
#include "Foundation/LocalizedOrder.h"

#include <stdexcept>
#include <string>
#include <unicode/coll.h>
#include <unicode/unistr.h>

namespace vello {

struct LocalizedOrder::Collation {
    std::unique_ptr<icu::Collator> collator;
};

namespace {

void check(UErrorCode status) {
    if (U_FAILURE(status))
        throw std::runtime_error(std::string("No collation: ") + u_errorName(status));
}

/// The "C" locale has no language and collates by bytes. Use the root collation, which all languages share,
/// instead.
icu::Locale usersLocale() {
    const icu::Locale& locale = icu::Locale::getDefault();
    return std::string_view(locale.getVariant()) == "POSIX" ? icu::Locale::getRoot() : locale;
}

std::unique_ptr<icu::Collator> makeCollator(const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(locale, status));
    check(status);
    collator->setStrength(icu::Collator::SECONDARY); // ignores case, a tertiary difference
    collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    check(status);
    return collator;
}

icu::UnicodeString fromUTF8(std::string_view text) {
    return icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
}

} // namespace

LocalizedOrder::LocalizedOrder(std::string_view locale)
    : collation_(std::make_unique<Collation>(Collation{
          makeCollator(locale.empty() ? usersLocale() : icu::Locale(std::string(locale).c_str()))})) {}

LocalizedOrder::~LocalizedOrder() = default;

bool LocalizedOrder::isBefore(std::string_view first, std::string_view second) const {
    UErrorCode status = U_ZERO_ERROR;
    const auto order = collation_->collator->compare(fromUTF8(first), fromUTF8(second), status);
    return U_SUCCESS(status) && order == UCOL_LESS;
}

} // namespace vello

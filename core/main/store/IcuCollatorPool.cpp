#include "qel/core/store/IcuCollatorPool.h"

#include <tbb/concurrent_unordered_map.h>
#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/utypes.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

std::size_t HashSortKey(std::uint8_t const* key, std::int32_t length) {
    return std::hash<std::string_view>()(
        std::string_view(reinterpret_cast<char const*>(key), static_cast<std::size_t>(length)));
}

// One locale's order. ICU collators may be shared between threads as long as
// only their const operations run; nothing changes one after it is made.
class IcuCollator final : public ICollator {
public:
    IcuCollator(Collation const& collation, std::unique_ptr<icu::Collator> collator)
        : m_collation(collation), m_collator(std::move(collator)) {}

    Collation const& GetCollation() const override { return m_collation; }

    int Compare(TStringCore const& a, TStringCore const& b) const override {
        // Fails only for null texts of non-zero length, which TStringCore never
        // hands out.
        UErrorCode status = U_ZERO_ERROR;
        return m_collator->compare(a.constData(), a.size(), b.constData(), b.size(), status);
    }

    // ICU gives texts that compare equal the same sort key, byte for byte, at
    // every strength, so hashing the key keeps Hash consistent with Compare.
    std::size_t Hash(TStringCore const& text) const override {
        // Most keys fit here; a key is a few bytes per code unit.
        std::array<std::uint8_t, 256> local;
        std::int32_t const length = m_collator->getSortKey(
            text.constData(), text.size(), local.data(), static_cast<std::int32_t>(local.size()));
        if (length <= static_cast<std::int32_t>(local.size()))
            return HashSortKey(local.data(), length);
        std::vector<std::uint8_t> heap(static_cast<std::size_t>(length));
        m_collator->getSortKey(text.constData(), text.size(), heap.data(), length);
        return HashSortKey(heap.data(), length);
    }

private:
    Collation m_collation;
    std::unique_ptr<icu::Collator const> m_collator;
};

[[noreturn]] void Refuse(std::string const& name, char const* reason) {
    QEL_VALIDATION_FAILED(QelError::InvalidCollationUsed,
                          TStringCore::fromStdString("locale '" + name + "': " + reason));
}

bool IsNumericRegion(char const* region) {
    return std::strlen(region) == 3 && region[0] >= '0' && region[0] <= '9';
}

// ICU falls back to a parent locale, down to the root order, for anything it
// lacks, and ignores parts of a name it does not know. A fallback from
// "de_AT" to "de" is what a host wants; a misspelt "de_DR" or "sv_SE_CI"
// sorting silently by other rules is not, so those are refused.
std::unique_ptr<IcuCollator> MakeIcuCollator(Collation const& collation) {
    std::string const name = collation.GetLocale().GetValue().toStdString();
    if (name.empty())
        Refuse(name, "empty name");

    UErrorCode status = U_ZERO_ERROR;
    // A tag is the name with a "-" and none of "_", "@" or ".": an ICU id has a
    // "-" only in a keyword value behind its "@", or in a POSIX charset.
    bool const isTag =
        name.find('-') != std::string::npos && name.find_first_of("_@.") == std::string::npos;
    icu::Locale const locale = isTag ? icu::Locale::forLanguageTag(name, status)
                                     : icu::Locale::createFromName(name.c_str());
    if (U_FAILURE(status) || locale.isBogus())
        Refuse(name, "not a locale name");
    // The empty language is the root locale ("root", "und").
    if (*locale.getLanguage() != '\0' && *locale.getISO3Language() == '\0')
        Refuse(name, "unknown language");
    // A region is ISO 3166 or, like "419", a UN M.49 area.
    char const* region = locale.getCountry();
    if (*region != '\0' && *locale.getISO3Country() == '\0' && !IsNumericRegion(region))
        Refuse(name, "unknown region");

    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(locale, status));
    if (U_FAILURE(status) || collator == nullptr)
        Refuse(name, u_errorName(status));  // e.g. a keyword value such as ks-level9

    // A variant counts only where ICU has an order for it ("en_US_POSIX").
    if (*locale.getVariant() != '\0') {
        UErrorCode validStatus = U_ZERO_ERROR;
        icu::Locale const valid = collator->getLocale(ULOC_VALID_LOCALE, validStatus);
        if (U_FAILURE(validStatus) || std::strcmp(valid.getVariant(), locale.getVariant()) != 0)
            Refuse(name, "unknown variant");
    }
    return std::make_unique<IcuCollator>(collation, std::move(collator));
}

class IcuCollatorPool final : public ICollatorPool {
public:
    ICollator* GetCollator(Collation const& collation) override {
        // By id, not by Collation's ==, which asks the installed pool: this
        // one need not be installed yet.
        unsigned long const id = collation.GetLocale().GetStringId();
        if (id == m_default.GetCollation().GetLocale().GetStringId())
            return &m_default;
        // Lock-free on a hit: every comparison of two strings asks for it.
        if (auto found = m_collators.find(id); found != m_collators.end())
            return found->second.get();
        // Two threads may make the same collator; the loser's is dropped, and
        // both return the one in the map.
        return m_collators.emplace(id, MakeIcuCollator(collation)).first->second.get();
    }

    // Only the same name: a collation hashes by its name (std::hash<Collation>),
    // so a broader equivalence would break the caches keyed by collation.
    bool AreEquivalent(Collation const& a, Collation const& b) const override {
        return a.GetLocale() == b.GetLocale();
    }

private:
    DefaultCollator m_default;
    tbb::concurrent_unordered_map<unsigned long, std::unique_ptr<IcuCollator>> m_collators;
};

}  // namespace

std::shared_ptr<ICollatorPool> MakeIcuCollatorPool() {
    return std::make_shared<IcuCollatorPool>();
}

void RegisterIcuCollatorPool() {
    std::shared_ptr<ICollatorPool> pool = MakeIcuCollatorPool();
    SetCollatorPool(std::move(pool));
}

}  // namespace qel::core

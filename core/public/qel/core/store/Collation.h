#pragma once

// How strings compare and hash. A Collation names a locale; the process-wide
// ICollatorPool turns it into an ICollator. The library implements no locale:
// its default pool knows only the default collation "LROOT" (exact code-unit
// order); a host installs a pool of real locales with SetCollatorPool.
//
// Set-up: install a pool (SetCollatorPool or RegisterDefaultCollatorPool)
// before other threads use the library and before the first string type is
// made or two collations are compared; these calls are not synchronised.
// Afterwards pools, collators and the hash/equality objects are read from any
// thread. A pool must outlive every container made with its collators, and
// must hash alike the texts that its collator compares equal.

#include <cstddef>
#include <functional>
#include <memory>

#include "qel/core/types/RIndirectString.h"
#include "qel/core/types/RInternString.h"

namespace qel::core {

class ICollator;

class Collation {
public:
    // The default collation, "LROOT".
    Collation();
    explicit Collation(RInternString const& locale) : m_locale(locale) {}

    RInternString const& GetLocale() const noexcept { return m_locale; }
    // The installed pool's collator for this collation.
    ICollator* GetCollator() const;

    // "LROOT", made during static initialisation.
    static Collation const& DefaultCollation;

private:
    RInternString m_locale;
};

// Equivalence is the installed pool's decision; with no pool it throws
// "no CollatorPool found".
bool operator==(Collation const& a, Collation const& b);
inline bool operator!=(Collation const& a, Collation const& b) {
    return !(a == b);
}

class ICollator {
public:
    virtual ~ICollator() = default;
    virtual Collation const& GetCollation() const = 0;
    // Negative, zero or positive.
    virtual int Compare(TStringCore const& a, TStringCore const& b) const = 0;
    virtual std::size_t Hash(TStringCore const& text) const = 0;
};

class ICollatorPool {
public:
    virtual ~ICollatorPool() = default;
    virtual ICollator* GetCollator(Collation const& collation) = 0;
    virtual bool AreEquivalent(Collation const& a, Collation const& b) const = 0;
};

// Exact, case-sensitive order of code units.
class DefaultCollator : public ICollator {
public:
    DefaultCollator() = default;
    Collation const& GetCollation() const override { return m_collation; }
    int Compare(TStringCore const& a, TStringCore const& b) const override;
    std::size_t Hash(TStringCore const& text) const override;

private:
    Collation m_collation;
};

// Knows the default collation only; any other fails "invalid collation used".
class DefaultCollatorPool : public ICollatorPool {
public:
    ICollator* GetCollator(Collation const& collation) override;
    bool AreEquivalent(Collation const& a, Collation const& b) const override;

private:
    DefaultCollator m_collator;
};

// Exchanges the global pool: `pool` is left holding the previous one, and a
// copy of it is returned so that the caller can put it back.
std::shared_ptr<ICollatorPool> SetCollatorPool(std::shared_ptr<ICollatorPool>&& pool);
// The installed pool; throws "no CollatorPool found" when there is none.
ICollatorPool* GetCollatorPool();
void RegisterDefaultCollatorPool();

// Hash and equality of unordered containers of strings, by a collator.
class CollatorHash {
public:
    CollatorHash();
    explicit CollatorHash(Collation const& collation);
    Collation const& GetCollation() const { return m_collator->GetCollation(); }
    std::size_t operator()(RIndirectString const& s) const { return m_collator->Hash(s); }

private:
    ICollator const* m_collator;
};

class CollatorEqualTo {
public:
    CollatorEqualTo();
    explicit CollatorEqualTo(Collation const& collation);
    Collation const& GetCollation() const { return m_collator->GetCollation(); }
    bool operator()(RIndirectString const& a, RIndirectString const& b) const {
        return m_collator->Compare(a, b) == 0;
    }

private:
    ICollator const* m_collator;
};

}  // namespace qel::core

template <>
struct std::hash<qel::core::Collation> {
    std::size_t operator()(qel::core::Collation const& c) const {
        return std::hash<qel::sys::TStringCore>()(c.GetLocale().GetValue());
    }
};

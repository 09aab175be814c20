#include "qel/core/store/Collation.h"

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

Collation const& DefaultCollationInstance() {
    static Collation const collation(RInternString(u"LROOT"));
    return collation;
}

std::shared_ptr<ICollatorPool> g_collatorPool;

}  // namespace

Collation const& Collation::DefaultCollation = DefaultCollationInstance();

Collation::Collation() : m_locale(DefaultCollationInstance().m_locale) {}

ICollator* Collation::GetCollator() const {
    return GetCollatorPool()->GetCollator(*this);
}

bool operator==(Collation const& a, Collation const& b) {
    return GetCollatorPool()->AreEquivalent(a, b);
}

int DefaultCollator::Compare(TStringCore const& a, TStringCore const& b) const {
    return TStringCore::compare(a.constData(), b.constData(), CaseSensitivity::CaseSensitive);
}

std::size_t DefaultCollator::Hash(TStringCore const& text) const {
    return HashString(text);
}

ICollator* DefaultCollatorPool::GetCollator(Collation const& c) {
    QEL_VALIDATE(c == Collation::DefaultCollation, QelError::InvalidCollationUsed);
    return &m_collator;
}

bool DefaultCollatorPool::AreEquivalent(Collation const& a, Collation const& b) const {
    return a.GetLocale() == b.GetLocale();
}

std::shared_ptr<ICollatorPool> SetCollatorPool(std::shared_ptr<ICollatorPool>&& pool) {
    std::swap(g_collatorPool, pool);
    std::shared_ptr<ICollatorPool> previous = pool;  // a copy: `pool` keeps it too
    return previous;
}

ICollatorPool* GetCollatorPool() {
    QEL_VALIDATE_NOT_NULL(g_collatorPool, QelError::NoCollatorPoolFound);
    return g_collatorPool.get();
}

void RegisterDefaultCollatorPool() {
    g_collatorPool = std::make_shared<DefaultCollatorPool>();
}

CollatorHash::CollatorHash() : CollatorHash(Collation::DefaultCollation) {}
CollatorHash::CollatorHash(Collation const& collation) : m_collator(collation.GetCollator()) {}

CollatorEqualTo::CollatorEqualTo() : CollatorEqualTo(Collation::DefaultCollation) {}
CollatorEqualTo::CollatorEqualTo(Collation const& collation)
    : m_collator(collation.GetCollator()) {}

}  // namespace qel::core

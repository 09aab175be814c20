// A host's own things in qelcore: a value kind, Money (RegisterExternalType),
// whose values live in arrays and tuples and travel as the bytes its
// serializer gives; and a collation, "ascii_ci" (ASCII without case), served
// by the host's collator pool: strings of the type s<ascii_ci> compare and
// hash by it, so a set merges "Apple" and "APPLE". The program checks what it
// shows and exits non-zero when a check fails.

#include <qel/core/QelCore.h>

#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace qel::core;

namespace {

constexpr char16_t kMoneyName[] = u"money";  // its type is written x<money>
constexpr unsigned short kMoneyId = 1;       // any id not taken by another kind

// An amount in cents, with its three-letter currency code. Values of the
// store are immutable, and so is a Money.
class Money final : public ValueExternal {
public:
    Money(std::string currencyCode, long long amount)
        : ValueExternal(TStringCore(kMoneyName)), currency(std::move(currencyCode)), cents(amount) {
        if (currency.size() != 3)
            throw std::invalid_argument("a currency code has three letters");
    }
    std::unique_ptr<StoreValue> Clone() const override {
        return std::make_unique<Money>(currency, cents);
    }

    std::string const currency;
    long long const cents;
};

// The currency's three bytes, then the cents as eight bytes, lowest first:
// the same bytes on every machine.
std::vector<unsigned char> SerializeMoney(ValueExternal const& value) {
    Money const& money = static_cast<Money const&>(value);
    std::vector<unsigned char> bytes(money.currency.begin(), money.currency.end());
    auto const bits = static_cast<unsigned long long>(money.cents);
    for (int i = 0; i < 8; ++i)
        bytes.push_back(static_cast<unsigned char>(bits >> (8 * i)));
    return bytes;
}

// The bytes come from outside: anything SerializeMoney cannot have written
// gives null, which the library's readers refuse with a clean error.
std::shared_ptr<ValueExternal> DeserializeMoney(ArrayView<unsigned char const> const& bytes) {
    if (bytes.GetSize() != 11)
        return nullptr;
    unsigned long long bits = 0;
    for (int i = 0; i < 8; ++i)
        bits |= static_cast<unsigned long long>(bytes[3 + i]) << (8 * i);
    return std::make_shared<Money>(std::string(bytes.GetData(), bytes.GetData() + 3),
                                   static_cast<long long>(bits));
}

bool IsMoney(std::shared_ptr<StoreValue> const& value, char const* currency, long long cents) {
    auto const* money = dynamic_cast<Money const*>(&value->AsExternal());
    return money != nullptr && money->currency == currency && money->cents == cents;
}

constexpr char16_t kCaseless[] = u"ascii_ci";

// Code-unit order with A-Z read as a-z. Both functions fold the same way,
// so texts that compare equal hash alike, as a pool must guarantee.
class CaselessCollator final : public ICollator {
public:
    Collation const& GetCollation() const override { return m_collation; }
    int Compare(TStringCore const& a, TStringCore const& b) const override {
        return Folded(a).compare(Folded(b));
    }
    std::size_t Hash(TStringCore const& text) const override {
        return std::hash<std::u16string>()(Folded(text));
    }

private:
    static std::u16string Folded(TStringCore const& text) {
        std::u16string folded(text.view());
        for (char16_t& unit : folded)
            unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
        return folded;
    }

    Collation m_collation{RInternString(kCaseless)};
};

// The pool also serves the default collation, which every string without a
// locale has; other names are refused, as the library's own pool does.
class HostCollatorPool final : public ICollatorPool {
public:
    ICollator* GetCollator(Collation const& collation) override {
        if (collation.GetLocale() == m_caseless.GetCollation().GetLocale())
            return &m_caseless;
        if (collation.GetLocale() == m_default.GetCollation().GetLocale())
            return &m_default;
        throw QelRuntimeException(QelError::InvalidCollationUsed, collation.GetLocale().GetValue());
    }
    // Two collations are the same one only by the same name.
    bool AreEquivalent(Collation const& a, Collation const& b) const override {
        return a.GetLocale() == b.GetLocale();
    }

private:
    DefaultCollator m_default;
    CaselessCollator m_caseless;
};

// Money in an array and in a tuple, and fruit names of the caseless
// collation, in one store: JSON is read a store at a time, typed by its keys.
DataStore MakeStore(Collation const& caseless) {
    using Held = std::shared_ptr<StoreValue>;
    ExternalType const* money = ExternalType::Get(TStringCore(kMoneyName));
    // A special element still holds a value of the kind, which the writers
    // send and the readers ignore.
    Held const prices = factory::MakeArray<Held>(
        money,
        {std::make_shared<Money>("EUR", 1250), std::make_shared<Money>("EUR", 0),
         std::make_shared<Money>("USD", 399)},
        {SpecialKind::Normal, SpecialKind::Null, SpecialKind::Normal});
    QelTuple line(TupleType::Get({StringType::Get(), money}));
    line.SetNthString(0, RIndirectString(u"coffee"));
    line.SetNthExternal(1, std::make_shared<Money>("EUR", 320));
    // The locale is part of the string type.
    Held const fruit = factory::MakeArray<RIndirectString>(
        StringType::Get(caseless), {u"Apple", u"banana", u"APPLE", u"Cherry", u"apple"});
    ValueMap root;
    root.emplace(u"prices", prices);
    root.emplace(u"line", factory::MakeTuple(std::move(line)));
    root.emplace(u"fruit", fruit);
    return DataStore(std::move(root));
}

bool Check(bool passed, char const* what) {
    std::cout << (passed ? "ok:     " : "FAILED: ") << what << '\n';
    return passed;
}

}  // namespace

int main() {
    try {
        // Set-up: the pool in place of RegisterDefaultCollatorPool, then the
        // value kinds, before any other thread uses the library.
        SetCollatorPool(std::make_shared<HostCollatorPool>());
        RegisterExternalType(kMoneyId, TStringCore(kMoneyName), SerializeMoney, DeserializeMoney);
        Collation const caseless{RInternString(kCaseless)};
        DataStore const store = MakeStore(caseless);

        // To JSON and back: the types in the keys (x<money>, s<ascii_ci>) let
        // the reader find the deserializer and the collation again.
        JsonOptions options;
        options.serializerType = JsonSerializerType::Readable;
        TStringCore const json = SerializeDataStore(store, options);
        std::cout << json.toStdString() << '\n';
        std::shared_ptr<DataStore> const back = StoreValueParser::MakeDataStore(json);
        auto const at = [&](char16_t const* key) {
            return back->GetValue(KeyPathParser::MakeKeyPath(TStringCore(key)));
        };
        bool ok = Check(SerializeDataStore(*back, options) == json, "read back, writes the same");
        IStoreArray const& readPrices = at(u"prices")->AsArray();
        ok &= Check(IsMoney(readPrices.GetStoreValueAt(0), "EUR", 1250) &&
                        readPrices.GetStoreValueAt(1)->GetSpecialKind() == SpecialKind::Null &&
                        IsMoney(readPrices.GetStoreValueAt(2), "USD", 399),
                    "prices: EUR 12.50, Null, USD 3.99");
        QelTuple const& readLine = at(u"line")->AsTuple();
        ok &= Check(readLine.GetNthString(0).GetValue() == u"coffee" &&
                        IsMoney(readLine.GetNthExternal(1), "EUR", 320),
                    "line: (coffee, EUR 3.20)");
        // The collation at work, on the texts read back (so with the locale
        // their type brought back): the set hashes and compares by it, and
        // five texts are three fruits.
        auto const fruitSet = at(u"fruit")->AsArray().CopyAsSet(false);
        std::cout << "fruit as a set: " << SerializeValue(*fruitSet).toStdString() << '\n';
        ok &= Check(fruitSet->GetCount() == 3 &&
                        fruitSet->AsTypedSet<RIndirectString>().Contains(u"CHERRY"),
                    "as a set: three fruits, CHERRY among them");
        // Order too: by code units "B" comes before "a".
        ok &= Check(factory::MakeString(u"apple", caseless)
                        ->IsLessThan(*factory::MakeString(u"Banana", caseless)),
                    "apple < Banana");
        return ok ? 0 : 1;
    } catch (QelException const& e) {
        std::cerr << "qelcore refused: " << e.what() << '\n'
                  << e.GetContext().toStdString() << '\n';
    } catch (std::exception const& e) {
        std::cerr << e.what() << '\n';
    }
    return 2;
}

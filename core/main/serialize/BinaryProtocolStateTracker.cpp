#include "qel/core/serialize/BinaryProtocolStateTracker.h"

#include <utility>

#include "qel/core/utility/Validation.h"

namespace qel::core {

using State = BinaryProtocolStateTracker::BinaryProtocolState;

namespace {

[[noreturn]] void NotSupported() {
    QEL_VALIDATION_FAILED(QelError::OperationNotSupportedInCurrentBinaryProtocol);
}

class ListProtocolState final : public State {
public:
    explicit ListProtocolState(BinaryListType type) : m_type(type) {
        QEL_VALIDATE(type.GetContainerType() > BinaryContainerType::INVALID &&
                         type.GetContainerType() < BinaryContainerType::COUNT,
                     QelError::BinaryProtocolHasInvalidListType);
        switch (type.GetContainerType()) {
            case BinaryContainerType::Array:
            case BinaryContainerType::Set:
            case BinaryContainerType::Tuple:
                m_segmentCount = type.HasSpecials() ? 2 : 1;
                break;
            case BinaryContainerType::CompositeArray:
                m_segmentCount = type.HasIndices() ? 4 : 3;
                break;
            default:
                m_segmentCount = 1;
        }
    }

    void BeginListData(unsigned int count) override {
        QEL_VALIDATE(m_state == State::ExpectListStart, QelError::BinaryProtocolExpectedListStart);
        QEL_VALIDATE(m_segmentCount > 0, QelError::BinaryProtocolListSegmentCountMismatch);
        // Values and specials of an array come in two segments of one length;
        // only the exact byte is tested, so a sorted array escapes it.
        if (m_type == BinaryListType::ArrayWithSpecials && m_lastDataCount != 0)
            QEL_VALIDATE(count == m_lastDataCount,
                         QelError::BinaryProtocolListSegmentCountMismatch);
        // A constant array announces its length and holds one value.
        m_count = m_type.GetContainerType() == BinaryContainerType::ConstantArray ? 1 : count;
        m_lastDataCount = count;
        --m_segmentCount;
        m_state = State::ExpectData;
    }
    void EndListData() override {
        ExpectData();
        QEL_VALIDATE(m_count == 0, QelError::BinaryProtocolListValueCountIncorrect);
        m_state = State::ExpectListStart;
    }
    void EndCurrentListType() override {
        QEL_VALIDATE(m_segmentCount == 0, QelError::BinaryProtocolListSegmentCountMismatch);
        QEL_VALIDATE(m_state == State::ExpectListStart, QelError::BinaryProtocolExpectedListStart);
    }
    void TouchData() override { Take(1); }
    void TouchVector(unsigned int count) override { Take(count); }
    void BeginNestedListType() override { Take(1); }
    void BeginNestedDictionaryType() override { Take(1); }
    void BeginNestedKeySetType() override { Take(1); }

private:
    enum class State { ExpectListStart, ExpectData };

    void ExpectData() const {
        QEL_VALIDATE(m_state == State::ExpectData, QelError::BinaryProtocolExpectedListData);
    }
    // Too many items wrap the count, which EndListData then refuses.
    void Take(unsigned int count) {
        ExpectData();
        m_count -= count;
    }

    BinaryListType m_type;
    unsigned int m_count = 0;
    unsigned int m_segmentCount = 0;
    unsigned int m_lastDataCount = 0;
    State m_state = State::ExpectListStart;
};

class DictionaryProtocolState final : public State {
public:
    explicit DictionaryProtocolState(unsigned int count) : m_count(count) {}

    void TouchKey() override {
        QEL_VALIDATE(m_state == State::ExpectKey, QelError::BinaryProtocolExpectedDictionaryKey);
        m_state = State::ExpectTypeInfo;
    }
    void TouchTypeInfo() override {
        QEL_VALIDATE(m_state == State::ExpectTypeInfo,
                     QelError::BinaryProtocolExpectedDictionaryTypeInfo);
        m_state = State::ExpectValue;
    }
    void TouchData() override { TakeValue(); }
    void BeginNestedListType() override { TakeValue(); }
    void BeginNestedDictionaryType() override { TakeValue(); }
    void BeginNestedTableType() override { TakeValue(); }
    void BeginNestedKeySetType() override { TakeValue(); }
    void EndCurrentDictionaryType() override {
        QEL_VALIDATE(m_state == State::ExpectKey, QelError::BinaryProtocolExpectedDictionaryKey);
        QEL_VALIDATE(m_count == 0, QelError::BinaryProtocolDictionaryValueCountIncorrect);
    }

private:
    enum class State { ExpectKey, ExpectTypeInfo, ExpectValue };

    void TakeValue() {
        QEL_VALIDATE(m_state == State::ExpectValue, QelError::BinaryProtocolExpectedDictionaryData);
        --m_count;
        m_state = State::ExpectKey;
    }

    State m_state = State::ExpectKey;
    unsigned int m_count;
};

class TableProtocolState final : public State {
public:
    explicit TableProtocolState(unsigned int count) : m_count(count) {}

    void BeginNestedListType() override {
        QEL_VALIDATE(m_state == State::BeginNestedList, QelError::BinaryProtocolExpectedListData);
        if (m_headerLists > 0)
            --m_headerLists;
        else
            --m_count;
        if (m_headerLists == 0)
            m_state = m_count != 0 ? State::ExpectKey : State::EndCurrentTable;
    }
    void TouchKey() override {
        QEL_VALIDATE(m_state == State::ExpectKey, QelError::BinaryProtocolExpectedListData);
        m_state = State::ExpectTypeInfo;
    }
    void TouchTypeInfo() override {
        QEL_VALIDATE(m_state == State::ExpectTypeInfo,
                     QelError::BinaryProtocolExpectedDictionaryTypeInfo);
        m_state = State::BeginNestedList;
    }
    void EndCurrentTableType() override {
        QEL_VALIDATE(m_state == State::EndCurrentTable,
                     QelError::BinaryProtocolExpectedDictionaryKey);
        QEL_VALIDATE(m_count == 0, QelError::BinaryProtocolDictionaryValueCountIncorrect);
    }

private:
    enum class State {
        BeginNestedList = 0,
        ExpectKey = 1,
        ExpectTypeInfo = 2,
        EndCurrentTable = 4
    };

    State m_state = State::BeginNestedList;
    unsigned int m_headerLists = 2;
    unsigned int m_count;
};

class KeySetProtocolState final : public State {
public:
    explicit KeySetProtocolState(BinaryKeySetType type) : m_type(type) {
        QEL_VALIDATE_LOGIC(
            type == BinaryKeySetType::NoSpecials || type == BinaryKeySetType::WithSpecials,
            QelError::Unspecified);
        m_segmentCount = static_cast<unsigned int>(type);
    }

    void BeginListData(unsigned int count) override {
        QEL_VALIDATE(m_state == State::ExpectListStart, QelError::BinaryProtocolExpectedListStart);
        QEL_VALIDATE(m_segmentCount > 0, QelError::BinaryProtocolListSegmentCountMismatch);
        m_count = count;
        --m_segmentCount;
        m_state = State::ExpectKey;
    }
    // Fewer segments than announced may be used.
    void EndCurrentKeySetType() override {
        QEL_VALIDATE(m_state == State::ExpectListStart, QelError::BinaryProtocolExpectedKeysetKey);
        QEL_VALIDATE(m_count == 0, QelError::BinaryProtocolKeysetValueCountIncorrect);
    }
    void TouchKey() override {
        QEL_VALIDATE(m_state == State::ExpectKey, QelError::BinaryProtocolExpectedKeysetKey);
        m_state = State::ExpectValue;
    }
    void EndListData() override {
        QEL_VALIDATE(m_state == State::ExpectKey, QelError::BinaryProtocolExpectedListData);
        QEL_VALIDATE(m_count == 0, QelError::BinaryProtocolListValueCountIncorrect);
        m_state = State::ExpectListStart;
    }
    void TouchData() override { TakeValue(); }
    // A key that is a tuple is a nested list.
    void BeginNestedListType() override {
        if (m_state == State::ExpectKey)
            TouchKey();
        else
            TakeValue();
    }
    void BeginNestedDictionaryType() override { TakeValue(); }
    void BeginNestedKeySetType() override { TakeValue(); }

private:
    enum class State { ExpectListStart, ExpectKey, ExpectValue };

    void TakeValue() {
        QEL_VALIDATE(m_state == State::ExpectValue, QelError::BinaryProtocolExpectedKeysetData);
        --m_count;
        m_state = State::ExpectKey;
    }

    [[maybe_unused]] BinaryKeySetType m_type;
    State m_state = State::ExpectListStart;
    unsigned int m_count = 0;
    unsigned int m_segmentCount = 0;
};

}  // namespace

// ---------------------------------------------------------------------------
// What a state does not override fails.

void State::BeginNestedListType() {
    NotSupported();
}
void State::BeginNestedDictionaryType() {
    NotSupported();
}
void State::BeginNestedTableType() {
    NotSupported();
}
void State::BeginNestedKeySetType() {
    NotSupported();
}
void State::EndCurrentListType() {
    NotSupported();
}
void State::EndCurrentDictionaryType() {
    NotSupported();
}
void State::EndCurrentTableType() {
    NotSupported();
}
void State::EndCurrentKeySetType() {
    NotSupported();
}
void State::BeginListData(unsigned int) {
    NotSupported();
}
void State::EndListData() {
    NotSupported();
}
void State::TouchKey() {
    NotSupported();
}
void State::TouchTypeInfo() {
    NotSupported();
}
void State::TouchData() {
    NotSupported();
}
void State::TouchVector(unsigned int) {
    NotSupported();
}

// ---------------------------------------------------------------------------
// Tracker

BinaryProtocolStateTracker::BinaryProtocolStateTracker() = default;
BinaryProtocolStateTracker::~BinaryProtocolStateTracker() = default;

State& BinaryProtocolStateTracker::CurrentState() const {
    QEL_VALIDATE_NOT(m_states.empty(), QelError::OperationNotSupportedInCurrentBinaryProtocol);
    return *m_states.back();
}

// The state is made first, so that a refused type leaves the parent as it
// was.
void BinaryProtocolStateTracker::BeginListType(BinaryListType type) {
    auto state = std::make_unique<ListProtocolState>(type);
    if (HasStates())
        CurrentState().BeginNestedListType();
    m_states.push_back(std::move(state));
}

void BinaryProtocolStateTracker::BeginDictionaryType(unsigned int count) {
    if (HasStates())
        CurrentState().BeginNestedDictionaryType();
    m_states.push_back(std::make_unique<DictionaryProtocolState>(count));
}

void BinaryProtocolStateTracker::BeginTableType(unsigned int count) {
    if (HasStates())
        CurrentState().BeginNestedTableType();
    m_states.push_back(std::make_unique<TableProtocolState>(count));
}

void BinaryProtocolStateTracker::BeginKeySetType(BinaryKeySetType type) {
    auto state = std::make_unique<KeySetProtocolState>(type);
    if (HasStates())
        CurrentState().BeginNestedKeySetType();
    m_states.push_back(std::move(state));
}

void BinaryProtocolStateTracker::EndListType() {
    CurrentState().EndCurrentListType();
    m_states.pop_back();
}

void BinaryProtocolStateTracker::EndDictionaryType() {
    CurrentState().EndCurrentDictionaryType();
    m_states.pop_back();
}

void BinaryProtocolStateTracker::EndTableType() {
    CurrentState().EndCurrentTableType();
    m_states.pop_back();
}

void BinaryProtocolStateTracker::EndKeySetType() {
    CurrentState().EndCurrentKeySetType();
    m_states.pop_back();
}

void BinaryProtocolStateTracker::BeginListData(unsigned int count) {
    CurrentState().BeginListData(count);
}

void BinaryProtocolStateTracker::EndListData() {
    CurrentState().EndListData();
}

void BinaryProtocolStateTracker::TouchKey() {
    CurrentState().TouchKey();
}

void BinaryProtocolStateTracker::TouchTypeInfo() {
    CurrentState().TouchTypeInfo();
}

void BinaryProtocolStateTracker::TouchData() {
    CurrentState().TouchData();
}

void BinaryProtocolStateTracker::TouchVector(unsigned int count) {
    CurrentState().TouchVector(count);
}

}  // namespace qel::core

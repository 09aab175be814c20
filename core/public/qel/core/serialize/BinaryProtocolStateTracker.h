#pragma once

// The order of operations of the binary protocol, checked for the writer and
// the reader alike: a stack of small state machines, one per open structure.
// A wrong sequence, in a program or in a corrupt payload, fails where it
// happens, and each structure must get as many items as it announced.
//
// Any structure may be the root; a nested one counts as one item of its
// parent. Lists hold segments (values, then specials, indices, ...) that are
// opened with BeginListData(count) and closed with EndListData; dictionaries
// hold key, type, value triples; tables two header lists, then a key, a type
// and a list per column; key sets segments of key and value pairs.

#include <deque>
#include <memory>

#include "qel/core/serialize/BinaryProtocolType.h"

namespace qel::core {

class BinaryProtocolStateTracker {
public:
    // One open structure. Every operation that a state does not override
    // fails "operation not supported in current binary protocol state".
    class BinaryProtocolState {
    public:
        virtual ~BinaryProtocolState() = default;
        virtual void BeginNestedListType();
        virtual void BeginNestedDictionaryType();
        virtual void BeginNestedTableType();
        virtual void BeginNestedKeySetType();
        virtual void EndCurrentListType();
        virtual void EndCurrentDictionaryType();
        virtual void EndCurrentTableType();
        virtual void EndCurrentKeySetType();
        virtual void BeginListData(unsigned int count);
        virtual void EndListData();
        virtual void TouchKey();
        virtual void TouchTypeInfo();
        virtual void TouchData();
        virtual void TouchVector(unsigned int count);
    };

    BinaryProtocolStateTracker();
    ~BinaryProtocolStateTracker();

    void BeginListType(BinaryListType type);
    void BeginDictionaryType(unsigned int count);
    void BeginTableType(unsigned int count);
    void BeginKeySetType(BinaryKeySetType type);
    void EndListType();
    void EndDictionaryType();
    void EndTableType();
    void EndKeySetType();
    void BeginListData(unsigned int count);
    void EndListData();
    void TouchKey();
    void TouchTypeInfo();
    void TouchData();
    void TouchVector(unsigned int count);
    bool HasStates() const { return !m_states.empty(); }
    // The innermost open structure; with none open, "operation not supported
    // in current binary protocol state".
    BinaryProtocolState& CurrentState() const;
    // How many structures are open.
    std::size_t GetDepth() const { return m_states.size(); }

private:
    std::deque<std::unique_ptr<BinaryProtocolState>> m_states;
};

}  // namespace qel::core

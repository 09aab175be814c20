#pragma once

// Runs a call that must fail and returns what() of its exception, so that
// tests pin the exact texts that callers depend on. (The QelError code
// follows from the text, as each catalogue text is distinct.)

#include <exception>
#include <string>

namespace qel::core::test {

template <class Call>
std::string ThrownText(Call&& call) {
    try {
        call();
    } catch (std::exception const& e) {
        return e.what();
    }
    return "(nothing thrown)";
}

}  // namespace qel::core::test

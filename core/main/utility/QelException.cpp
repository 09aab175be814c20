#include "qel/core/utility/QelException.h"

namespace qel::core {

QelException::QelException(QelError error) : QelException(error, TStringCore(), TStringCore()) {}

QelException::QelException(QelError error, TStringCore const& details)
    : QelException(error, details, TStringCore()) {}

QelException::QelException(QelError error, TStringCore const& details, TStringCore const& context)
    : m_error(error), m_details(details), m_message(ErrorToString(error)), m_context(context) {
    // A catalogue text that ends in ": " is still followed by a line break, not
    // by the details on the same line.
    if (!m_details.isEmpty()) {
        m_message.append(u'\n');
        m_message.append(m_details);
    }
    m_what = m_message.toStdString();
}

void QelException::AppendContext(TStringCore const& text) {
    if (!m_context.isEmpty())
        m_context.append(u'\n');
    m_context.append(text);
}

}  // namespace qel::core

#include "qel/core/serialize/VtlParser.h"

#include <deque>
#include <memory>
#include <string_view>
#include <utility>

#include "qel/core/serialize/KeyPathParser.h"
#include "qel/core/serialize/OperatorTypeSerializeUtils.h"
#include "qel/core/serialize/VtlLiteralParser.h"
#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/RInternString.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/TextUtil.h"
#include "qel/core/utility/Validation.h"
#include "qel/core/vtl/ValueSpec.h"

namespace qel::core {

namespace {

constexpr char16_t kLineFeed = u'\n';
constexpr char16_t kBlank = u' ';

// ---------------------------------------------------------------------------
// Cutting the text into logical lines

// One logical line and the number of the physical line it begins on, which
// is what an author is shown when the line is refused.
struct LogicalLine {
    TStringCore text;
    int firstLine = 0;
};

// A line feed inside single quotes belongs to the string, so the text cannot
// simply be split at line feeds. A comment that starts a physical line is
// taken as it stands: an apostrophe in prose must not open a string that
// would swallow the lines below it.
std::vector<LogicalLine> CutLogicalLines(TStringCore const& text) {
    std::vector<LogicalLine> lines;
    TStringCore current;
    int physicalLine = 1;
    int firstLine = 1;
    bool inQuote = false;
    bool escaped = false;
    bool inComment = false;
    auto const append = [&](char16_t unit) {
        if (current.isEmpty())
            firstLine = physicalLine;
        current.append(unit);
    };
    auto const record = [&] {
        if (!current.isEmpty())
            lines.push_back({UnquoteString(current), firstLine});
        current = TStringCore();
        escaped = false;
        inComment = false;
    };
    int const size = text.size();
    for (int i = 0; i < size; ++i) {
        char16_t const unit = text[i];
        bool const lineStart = i == 0 || text[i - 1] == kLineFeed;
        if (lineStart && unit == u'/' && i + 1 < size && text[i + 1] == u'/')
            inComment = true;
        if (escaped) {
            append(unit);
            escaped = false;
        } else if (unit == u'\\' && !inComment) {
            append(unit);
            escaped = true;
        } else if (unit == u'\'' && !inComment) {
            append(unit);
            inQuote = !inQuote;
        } else if (inQuote || unit != kLineFeed) {
            append(unit);
        } else {
            record();
        }
        if (unit == kLineFeed)
            ++physicalLine;
    }
    record();
    return lines;
}

// ---------------------------------------------------------------------------
// One line

// Only the text after the arrow can name an operator; the generated table is
// the one list of spellings.
OperatorType ReadOperatorType(TStringCore const& name) {
    std::u16string_view const wanted(name.view());
    for (unsigned i = 0; i < kOperatorTypeCount; ++i) {
        if (wanted == detail::kOperatorTypeTexts[i])
            return static_cast<OperatorType>(i);
    }
    QEL_VALIDATION_FAILED(QelError::UnknownTypeName, name);
}

void ReadArrow(VtlScanner& scanner, TStringCore const& line) {
    QEL_VALIDATE(scanner.NextIf(VtlTokenType::Arrow), QelError::UnexpectedToken, line);
}

// The type of a literal stands behind its value, but the value can only be
// read once the type is known: look past the value's tokens, read the type,
// and put the tokens back. The scanner is left at the value, with the ":"
// and the type consumed. Null when no type follows.
Type const* SkipValueAndParseType(VtlScanner& scanner, TStringCore const& message) {
    std::vector<VtlToken> value;
    while (IsLiteralToken(scanner.Peek()))
        value.push_back(scanner.Next());
    Type const* type = nullptr;
    if (scanner.NextIf(VtlTokenType::Colon))
        type = KeyPathParser::ParseType(scanner, message);
    for (auto it = value.rbegin(); it != value.rend(); ++it)
        scanner.Push(std::move(*it));
    return type;
}

// A function name is a word, a quoted text, or one of the operator
// characters that arithmetic and comparison functions are called by.
bool TakeFunctionName(VtlToken const& token, TStringCore& name) {
    switch (token.GetType()) {
        case VtlTokenType::Identifier:
        case VtlTokenType::QuotedString:
            name = token.GetString();
            return true;
        case VtlTokenType::Plus:
            name = TStringCore(u"+");
            return true;
        case VtlTokenType::Minus:
            name = TStringCore(u"-");
            return true;
        case VtlTokenType::Multiply:
            name = TStringCore(u"*");
            return true;
        case VtlTokenType::LessThan:
            name = TStringCore(u"<");
            return true;
        case VtlTokenType::GreaterThan:
            name = TStringCore(u">");
            return true;
        default:
            return false;
    }
}

// The operator's literal, behind its ":". Operators that fix the literal's
// store type let the text leave the type out; the others must name it.
std::shared_ptr<StoreValue> ReadOperatorLiteral(OperatorType operatorType, VtlScanner& scanner,
                                                TStringCore const& line) {
    Type const* type = SkipValueAndParseType(scanner, line);
    if (DoesOperatorTakeStoreType(operatorType)) {
        StoreType const wanted = OperatorStoreType(operatorType);
        if (type == nullptr)
            type = MakePrimitiveType(wanted);
        QEL_VALIDATE(type->GetStoreType() == wanted, QelError::TypespecDoesNotMatchExpectedTypeFor,
                     OperatorTypeToString(operatorType));
    } else if (DoesOperatorTakeAnyStoreType(operatorType)) {
        QEL_VALIDATE_NOT_NULL(type, QelError::OperatorArgumentTypeSpecNotFound);
    } else {
        QEL_VALIDATION_FAILED(QelError::OperatorTypeDoesNotExpectAnArgument);
    }
    return ParseVtlLiteral(type, scanner);
}

// The function behind its "(". The end of the line closes the parenthesis,
// so a writer may leave it out.
std::shared_ptr<FunctionSpec const> ReadFunction(VtlScanner& scanner, TStringCore const& line) {
    TStringCore name;
    QEL_VALIDATE(TakeFunctionName(scanner.Next(), name), QelError::UnexpectedToken, line);
    std::vector<ValueSpec> arguments;
    for (;;) {
        VtlToken token = scanner.Next();
        if (token.GetType() == VtlTokenType::CloseParen || token.GetType() == VtlTokenType::End)
            break;
        if (token.GetType() == VtlTokenType::Colon) {
            Type const* type = SkipValueAndParseType(scanner, line);
            QEL_VALIDATE_NOT_NULL_SHOWN(type, QelError::NeedToSpecifyAKeyType);
            arguments.emplace_back(ParseVtlLiteral(type, scanner));
        } else {
            // Anything else must begin a key path; ParseKeyPath refuses what
            // cannot, so every turn of the loop consumes a token or throws.
            scanner.Push(std::move(token));
            arguments.emplace_back(KeyPathParser::ParseKeyPath(scanner, line));
        }
    }
    return FunctionSpec::Make(RInternString(name), std::move(arguments));
}

// ---------------------------------------------------------------------------
// Nesting

// A transform whose line is followed by deeper lines: it collects them as
// its children until a line at its own level or above closes it.
struct ParserState {
    explicit ParserState(TransformSpec&& spec) : m_spec(std::move(spec)) {
        QEL_VALIDATE_SHOWN(CanOperatorHaveChildTransforms(m_spec.GetOperatorType()),
                           QelError::UnexpectedChildTransformFound);
    }

    // The last child, taken out to become a parent in turn.
    TransformSpec TakeLastChild() {
        QEL_VALIDATE_NOT_EMPTY_SHOWN(m_children, QelError::Unspecified);
        TransformSpec child = std::move(m_children.back());
        m_children.pop_back();
        return child;
    }

    TransformSpec m_spec;
    std::vector<TransformSpec> m_children;
};

// The open transforms from outermost to innermost, and the top-level list,
// which plays the children of an outermost root.
class ParserStateTracker {
public:
    std::size_t GetCurrentDepth() const { return m_states.size(); }

    void AddTransform(TransformSpec&& spec) {
        if (m_states.empty())
            m_children.push_back(std::move(spec));
        else
            m_states.back().m_children.push_back(std::move(spec));
    }

    // The line one level deeper makes the last transform so far its parent.
    void OpenPreviousSibling() {
        if (m_states.empty()) {
            QEL_VALIDATE_NOT_EMPTY_SHOWN(m_children, QelError::InvalidNestingOfTransforms);
            TransformSpec spec = std::move(m_children.back());
            m_children.pop_back();
            m_states.emplace_back(std::move(spec));
        } else {
            m_states.emplace_back(m_states.back().TakeLastChild());
        }
    }

    // Closes the innermost open transform: it becomes a transform with its
    // children, appended to its own parent. The comment is not carried over
    // because only a noOp has one, and a noOp never has children.
    void FinishNestedSpec() {
        QEL_VALIDATE_NOT_EMPTY_SHOWN(m_states, QelError::InvalidNestingOfTransforms);
        ParserState state = std::move(m_states.back());
        m_states.pop_back();
        TransformSpec& spec = state.m_spec;
        AddTransform(TransformSpec(spec.GetOperatorType(), std::move(spec.GetInputs()),
                                   std::move(spec.GetOutputs()), spec.GetFunctionSpec(),
                                   std::move(state.m_children), spec.GetValue(), TStringCore()));
    }

    std::vector<TransformSpec> Finish() {
        while (!m_states.empty())
            FinishNestedSpec();
        return std::move(m_children);
    }

private:
    std::deque<ParserState> m_states;
    std::vector<TransformSpec> m_children;
};

// Two blanks are one level. Tabs are not counted: the scanner measures
// indentation in blanks too.
std::size_t LevelOf(TStringCore const& line) {
    int blanks = 0;
    while (blanks + 1 < line.size() && line[blanks] == kBlank)
        ++blanks;
    return static_cast<std::size_t>(blanks / 2);
}

}  // namespace

std::vector<TransformSpec> ParseVtlList(TStringCore const& text, bool keepComments) {
    return ParseVtlList(text, keepComments, nullptr);
}

std::vector<TransformSpec> ParseVtlList(TStringCore const& text, bool keepComments,
                                        int* refusedLine) {
    int ignored = 0;
    int& at = refusedLine != nullptr ? *refusedLine : ignored;
    ParserStateTracker parser;
    for (LogicalLine const& logical : CutLogicalLines(text)) {
        TStringCore const& line = logical.text;
        if (line.trimmed().isEmpty())
            continue;
        at = logical.firstLine;
        std::size_t const currentLevel = LevelOf(line);
        TransformSpec spec = ParseVtlLine(line);
        if (!keepComments && spec.GetOperatorType() == OperatorType::NoOp)
            continue;
        std::size_t const depth = parser.GetCurrentDepth();
        if (currentLevel < depth) {
            for (std::size_t i = currentLevel; i < depth; ++i)
                parser.FinishNestedSpec();
        } else if (currentLevel > depth) {
            QEL_VALIDATE_SHOWN(parser.GetCurrentDepth() + 1 == currentLevel, QelError::Unspecified);
            parser.OpenPreviousSibling();
        }
        parser.AddTransform(std::move(spec));
    }
    at = 0;
    return parser.Finish();
}

TransformSpec ParseVtlLine(TStringCore const& line) {
    VtlScanner scanner{TStringCore(line)};
    VtlToken comment;
    if (scanner.NextIf(VtlTokenType::Comment, comment))
        return TransformSpec(comment.GetString());

    std::vector<KeyPath> inputs = KeyPathParser::ParseKeyPathList(scanner, line);
    ReadArrow(scanner, line);
    VtlToken const& operatorToken = scanner.Next();
    QEL_VALIDATE(operatorToken.GetType() == VtlTokenType::Identifier, QelError::UnexpectedToken);
    OperatorType const operatorType = ReadOperatorType(operatorToken.GetString());

    std::shared_ptr<StoreValue> value;
    if (scanner.NextIf(VtlTokenType::Colon))
        value = ReadOperatorLiteral(operatorType, scanner, line);
    std::shared_ptr<FunctionSpec const> function;
    if (scanner.NextIf(VtlTokenType::OpenParen))
        function = ReadFunction(scanner, line);
    ReadArrow(scanner, line);
    // Tokens behind the output list are not looked at: the writer puts
    // nothing there, so the line ends where the list does.
    std::vector<KeyPath> outputs = KeyPathParser::ParseKeyPathList(scanner, line);
    return TransformSpec(operatorType, std::move(inputs), std::move(outputs), function, {}, value,
                         TStringCore());
}

}  // namespace qel::core

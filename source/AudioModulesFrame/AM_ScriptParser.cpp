#include "AM_ScriptParser.h"

#include "AM_Log.h"

#include <utility>

// Names declared while it lives go with it.
class AM_ScriptParser::Scope {
public:
    explicit Scope(AM_ScriptParser& parser)
        : parser(parser), outer(parser.scope), first(parser.declared.size()) {
        parser.scope = ++parser.lastScope;
    }
    ~Scope() {
        while (parser.declared.size() > first) {
            const AM_ScriptSymbol& symbol = parser.tree.symbols[parser.declared.back()];
            parser.visible[symbol.name] = symbol.hides;
            parser.declared.pop_back();
        }
        parser.scope = outer;
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

private:
    AM_ScriptParser& parser;
    u32 outer;
    size_t first;
};

AM_ScriptParser::AM_ScriptParser(std::string_view text, i32 line, const AM_ScriptVariables& shared)
    : lexer(text, line), shared(shared) {
}

AM_ScriptTree AM_ScriptParser::parse() {
    advance();
    const u32 body = make(AM_ScriptNode::k_block, token);
    tree.outside.body = body;
    u32 last = 0;
    while (token.kind != AM_ScriptToken::k_end)
        functionOrStatement(last, body);
    tree.lastLine = token.line;
    return std::move(tree);
}

void AM_ScriptParser::advance() {
    token = lexer.next();
}

bool AM_ScriptParser::accept(std::string_view sign) {
    if (!token.is(sign)) return false;
    advance();
    return true;
}

void AM_ScriptParser::expect(std::string_view sign, std::string_view where) {
    if (!accept(sign)) failHere(k_scriptSyntax, AM_scriptQuote(sign) + " " + std::string(where));
}

void AM_ScriptParser::failHere(i32 code, std::string_view expected) const {
    AM_scriptFail(code, token,
                  "expected " + std::string(expected) + ", found " + AM_scriptQuote(token));
}

bool AM_ScriptParser::atType() const {
    return token.is("int") || token.is("float");
}

AM_ScriptType AM_ScriptParser::takeType() {
    const AM_ScriptType type = token.is("int") ? k_scriptInt : k_scriptFloat;
    advance();
    return type;
}

AM_ScriptToken AM_ScriptParser::takeName(std::string_view what) {
    if (token.kind != AM_ScriptToken::k_name || !AM_scriptIsName(token.text))
        failHere(k_scriptSyntax, what);
    const AM_ScriptToken name = token;
    advance();
    return name;
}

// --- Names.

u32 AM_ScriptParser::declare(const AM_ScriptToken& name, AM_ScriptType type) {
    u32& hidden = visible[name.text];
    if (hidden != 0 && tree.symbols[hidden - 1].scope == scope) {
        AM_Log("ERROR can't redeclare variable %s\n", std::string(name.text));
        AM_scriptFail(k_scriptRedeclared, name,
                      "expected a name that isn't taken in this block, " + AM_scriptQuote(name) +
                          " is");
    }
    AM_ScriptSymbol symbol;
    symbol.name = name.text;
    symbol.type = type;
    symbol.function = currentFunction;
    symbol.scope = scope;
    symbol.hides = hidden;
    tree.symbols.push_back(symbol);
    const u32 index = static_cast<u32>(tree.symbols.size() - 1);
    hidden = index + 1;
    declared.push_back(index);
    return index;
}

i32 AM_ScriptParser::lookUp(std::string_view name) {
    const auto found = visible.find(name);
    if (found != visible.end() && found->second != 0) return static_cast<i32>(found->second) - 1;
    return share(name);
}

// A variable of the embedder becomes a symbol when it is used first.
i32 AM_ScriptParser::share(std::string_view name) {
    const auto known = sharedSymbols.find(name);
    if (known != sharedSymbols.end()) return static_cast<i32>(known->second);
    const auto found = shared.find(std::string(name));
    if (found == shared.end()) return -1;
    AM_ScriptSymbol symbol;
    symbol.name = name;
    symbol.type = found->second.type;
    symbol.isArray = found->second.isArray;
    symbol.length = found->second.length;
    symbol.isStored = true;
    symbol.place = static_cast<i32>(found->second.place);
    tree.symbols.push_back(symbol);
    const u32 index = static_cast<u32>(tree.symbols.size() - 1);
    sharedSymbols.emplace(name, index);
    return static_cast<i32>(index);
}

// What a function uses of its surroundings stays when these end.
void AM_ScriptParser::noteUse(u32 index) {
    AM_ScriptSymbol& symbol = tree.symbols[index];
    if (symbol.function != currentFunction) symbol.isStored = true;
    const bool isLocal = symbol.function == currentFunction && currentFunction >= 0;
    if (!symbol.isArray || isLocal) return;
    if (currentFunction < 0) {
        if (!std::exchange(symbol.notedOutside, true)) tree.outside.arrays.push_back(index);
    } else if (std::exchange(symbol.notedIn, currentFunction) != currentFunction) {
        tree.functions[static_cast<size_t>(currentFunction)].arrays.push_back(index);
    }
}

// --- Functions and statements.

void AM_ScriptParser::functionOrStatement(u32& last, u32 parent) {
    if (token.is("void")) {
        advance();
        function(k_scriptVoid, takeName("a function's name behind 'void'"));
    } else if (atType()) {
        const AM_ScriptType type = takeType();
        const AM_ScriptToken name = takeName("a name behind the type");
        if (token.is("(")) {
            function(type, name);
            return;
        }
        for (u32 one = declareOne(type, name);; one = declareOne(type, takeName("a name"))) {
            append(last, parent, one);
            if (!accept(",")) break;
        }
        expect(";", "behind the declaration");
    } else {
        append(last, parent, statement());
    }
}

void AM_ScriptParser::function(AM_ScriptType result, const AM_ScriptToken& name) {
    const auto [known, isNew] =
        functionNames.emplace(name.text, static_cast<u32>(tree.functions.size()));
    if (!isNew) {
        AM_Log("ERROR can't redeclare variable %s\n", std::string(name.text));
        AM_scriptFail(k_scriptRedeclared, name,
                      "expected a name that isn't taken, the function " + AM_scriptQuote(name) +
                          " is defined already");
    }
    currentFunction = static_cast<i32>(known->second);
    tree.functions.emplace_back();
    AM_ScriptFunctionNode definition;
    definition.name = name;
    definition.result = result;
    {
        const Scope scope(*this);
        parameters(definition);
        if (!token.is("{")) failHere(k_scriptSyntax, "'{' and the function's statements");
        definition.body = block();
    }
    // Uses of arrays were noted in the tree's own entry.
    AM_ScriptFunctionNode& entry = tree.functions[known->second];
    definition.arrays = std::move(entry.arrays);
    entry = std::move(definition);
    currentFunction = -1;
}

void AM_ScriptParser::parameters(AM_ScriptFunctionNode& definition) {
    expect("(", "behind the function's name");
    if (accept(")")) return;
    do {
        if (!atType()) failHere(k_scriptSyntax, "'int' or 'float' and a parameter's name");
        const AM_ScriptType type = takeType();
        const AM_ScriptToken name = takeName("a parameter's name");
        if (definition.parameters.size() == k_maxScriptArguments)
            AM_scriptFail(k_scriptWrongArguments, name, "expected no more than 32 parameters");
        definition.parameters.push_back(declare(name, type));
    } while (accept(","));
    expect(")", "behind the parameters");
}

void AM_ScriptParser::append(u32& last, u32 parent, u32 added) {
    if (last == 0)
        node(parent).a = added;
    else
        node(last).next = added;
    last = added;
}

u32 AM_ScriptParser::statement() {
    const Nesting deeper(*this);
    if (token.is("{")) {
        const Scope inner(*this);
        return block();
    }
    if (atType()) {
        const AM_ScriptType type = takeType();
        const u32 all = declaration(type);
        expect(";", "behind the declaration");
        return all;
    }
    if (token.is("void"))
        failHere(k_scriptSyntax, "a statement (functions are defined outside of blocks)");
    if (token.is("if")) return ifStatement();
    if (token.is("while")) return whileStatement();
    if (token.is("for")) return forStatement();
    if (token.is("break") || token.is("continue")) return jump();
    if (token.is("return")) return returnStatement();
    return expressionStatement();
}

// Its scope is the caller's.
u32 AM_ScriptParser::block() {
    const u32 all = make(AM_ScriptNode::k_block, token);
    expect("{", "");
    u32 last = 0;
    while (!token.is("}")) {
        if (token.kind == AM_ScriptToken::k_end)
            failHere(k_scriptSyntax, "'}' at the end of the block");
        append(last, all, statement());
    }
    advance();
    return all;
}

// A statement with a scope of its own, as the body of another one.
u32 AM_ScriptParser::scoped() {
    const Scope inner(*this);
    // Nothing shares the block's registers behind it.
    const u32 all = make(AM_ScriptNode::k_block, token);
    const u32 only = statement();
    node(all).a = only;
    return all;
}

u32 AM_ScriptParser::declaration(AM_ScriptType type) {
    const u32 all = make(AM_ScriptNode::k_expressions, token);
    u32 last = 0;
    do {
        append(last, all, declareOne(type, takeName("a name behind the type")));
    } while (accept(","));
    return all;
}

u32 AM_ScriptParser::declareOne(AM_ScriptType type, const AM_ScriptToken& name) {
    if (accept("[")) return declareArray(type, name);
    if (token.is("("))
        failHere(k_scriptSyntax, "a declaration (functions are defined outside of blocks)");
    const u32 declaring = make(AM_ScriptNode::k_declare, name);
    if (accept("=")) {
        const u32 value = expression();
        node(declaring).a = value;
    }
    const u32 symbol = declare(name, type);
    node(declaring).value = static_cast<i32>(symbol);
    return declaring;
}

u32 AM_ScriptParser::declareArray(AM_ScriptType type, const AM_ScriptToken& name) {
    const u32 declaring = make(AM_ScriptNode::k_declare, name);
    const AM_ScriptToken place = token;
    i64 length = -1;
    if (!token.is("]")) {
        const u32 size = expression();
        if (!isLiteral(size) || node(size).type != k_scriptInt)
            AM_scriptFail(k_scriptArraySize, place, "expected a constant integer as the size");
        length = node(size).value;
        if (length < 1 || length > i64{k_maxScriptArray})
            AM_scriptFail(k_scriptArraySize, place, "expected a size from 1 to 65536");
    }
    expect("]", "behind the size");
    u32 count = 0;
    if (accept("=")) {
        const u32 first = elements(count);
        node(declaring).a = first;
    }
    if (length < 0) length = count;
    if (length == 0) AM_scriptFail(k_scriptArraySize, place, "expected a size from 1 to 65536");
    if (i64{count} > length)
        AM_scriptFail(k_scriptArraySize, name,
                      "expected no more values than the array has elements");
    const u32 symbol = declare(name, type);
    tree.symbols[symbol].isArray = true;
    tree.symbols[symbol].length = static_cast<u32>(length);
    if (currentFunction < 0) noteUse(symbol);
    node(declaring).value = static_cast<i32>(symbol);
    return declaring;
}

u32 AM_ScriptParser::elements(u32& count) {
    expect("{", "and the values of the array");
    u32 first = 0;
    u32 last = 0;
    while (!token.is("}")) {
        if (count == k_maxScriptArray) failHere(k_scriptArraySize, "no more than 65536 values");
        const u32 value = expression();
        if (last == 0)
            first = value;
        else
            node(last).next = value;
        last = value;
        ++count;
        if (!accept(",")) break;
    }
    expect("}", "behind the values of the array");
    return first;
}

u32 AM_ScriptParser::ifStatement() {
    const u32 all = make(AM_ScriptNode::k_if, token);
    advance();
    expect("(", "behind 'if'");
    const u32 condition = expression();
    expect(")", "behind the condition");
    const u32 then = scoped();
    const u32 other = accept("else") ? scoped() : 0;
    node(all).a = condition;
    node(all).b = then;
    node(all).c = other;
    return all;
}

u32 AM_ScriptParser::whileStatement() {
    const u32 all = make(AM_ScriptNode::k_loop, token);
    advance();
    expect("(", "behind 'while'");
    const u32 condition = expression();
    expect(")", "behind the condition");
    ++loops;
    const u32 body = scoped();
    --loops;
    node(all).b = condition;
    node(all).d = body;
    return all;
}

u32 AM_ScriptParser::forStatement() {
    const Scope inner(*this);
    const u32 all = make(AM_ScriptNode::k_loop, token);
    advance();
    expect("(", "behind 'for'");
    u32 first = 0;
    if (atType()) {
        const AM_ScriptType type = takeType();
        first = declaration(type);
    } else if (!token.is(";")) {
        first = expressionList();
    }
    expect(";", "behind the first part of 'for'");
    const u32 condition = token.is(";") ? 0 : expression();
    expect(";", "behind the condition of 'for'");
    const u32 step = token.is(")") ? 0 : expressionList();
    expect(")", "behind the last part of 'for'");
    ++loops;
    const u32 body = scoped();
    --loops;
    AM_ScriptNode& loop = node(all);
    loop.a = first;
    loop.b = condition;
    loop.c = step;
    loop.d = body;
    return all;
}

u32 AM_ScriptParser::jump() {
    if (loops == 0)
        AM_scriptFail(k_scriptSyntax, token,
                      "expected " + AM_scriptQuote(token) + " inside of a loop only");
    const u32 all =
        make(token.is("break") ? AM_ScriptNode::k_break : AM_ScriptNode::k_continue, token);
    const std::string where = "behind " + AM_scriptQuote(token);
    advance();
    expect(";", where);
    return all;
}

u32 AM_ScriptParser::returnStatement() {
    const u32 all = make(AM_ScriptNode::k_return, token);
    advance();
    const u32 value = token.is(";") ? 0 : expression();
    node(all).a = value;
    expect(";", "behind 'return'");
    return all;
}

u32 AM_ScriptParser::expressionList() {
    const u32 all = make(AM_ScriptNode::k_expressions, token);
    u32 last = 0;
    do {
        append(last, all, expression());
    } while (accept(","));
    return all;
}

u32 AM_ScriptParser::expressionStatement() {
    if (token.is(";")) {
        const u32 none = make(AM_ScriptNode::k_expressions, token);
        advance();
        return none;
    }
    const u32 all = expressionList();
    expect(";", "behind the expression");
    return all;
}

// Programs are put together from what an entry has made and called. What its calls mention beside images is looked up
// in the entry's own source; what cannot stand there without the gallery is declared by its type, which the headers
// tell.
#include "snippet.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace gallery {

namespace {

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

bool isWord(char c)
{
    return isalnum(static_cast<unsigned char>(c)) || c == '_';
}

// The words of a text that are no literals and do not follow a point or an arrow: names in its scope.
std::set<std::string> namesIn(const std::string& text)
{
    std::set<std::string> names;
    for (size_t i = 0; i < text.size();) {
        if (text[i] == '"') {
            for (++i; i < text.size() && text[i] != '"'; ++i)
                i += text[i] == '\\';
            ++i;
        } else if (isWord(text[i])) {
            size_t end = i;
            while (end < text.size() && isWord(text[end]))
                ++end;
            bool member = i > 0 && (text[i - 1] == '.' || text.compare(i - std::min<size_t>(i, 2), 2, "->") == 0);
            if (!member && !isdigit(static_cast<unsigned char>(text[i])))
                names.insert(text.substr(i, end - i));
            i = end;
        } else {
            ++i;
        }
    }
    return names;
}

// Every type of an argument, by the function's name and the argument's place.
std::map<std::string, std::vector<std::string>> readSignatures()
{
    std::map<std::string, std::vector<std::string>> signatures;
    const std::regex comment(R"(/\*[^*]*\*+(?:[^/*][^*]*\*+)*/)");
    const std::regex declaration(R"(ORV_API\([^)]*\)\s*(orv\w+)\(([^;]*)\);)");
    const std::regex argument(R"(\s*([\w\s]*?[\w*]\**)\s*\b\w+\s*((?:\[[^\]]*\])*)\s*)");
    for (const auto& file : std::filesystem::directory_iterator(HEADERS)) {
        std::string text = std::regex_replace(readFile(file.path()), comment, " ");
        for (std::sregex_iterator it(text.begin(), text.end(), declaration), end; it != end; ++it) {
            std::istringstream list((*it)[2]);
            for (std::string one; std::getline(list, one, ',');) {
                std::smatch match;
                bool known = std::regex_match(one, match, argument);
                signatures[(*it)[1]].push_back(known ? match[1].str() + "|" + match[2].str() : "");
            }
        }
    }
    return signatures;
}

// The texts of the arguments of a call, from its opening parenthesis on.
std::vector<std::string> argumentsAt(const std::string& text, size_t open)
{
    std::vector<std::string> arguments(1);
    int depth = 0;
    for (size_t i = open; i < text.size(); ++i) {
        char c = text[i];
        depth += strchr("([{", c) ? 1 : strchr(")]}", c) ? -1 : 0;
        if (depth == 0)
            break;
        if (depth == 1 && c == ',')
            arguments.emplace_back();
        else if (i > open && !(isspace(static_cast<unsigned char>(c)) && arguments.back().empty()))
            arguments.back() += c;
    }
    return arguments;
}

// A statement or definition of a source, the names that it refers to, and those that it declares.
struct Piece {
    std::string text;
    std::set<std::string> names, declared;
    bool used = false;
};

// What a declaration or a function of plain types declares: the last word of each part between commas, up to what it is
// given.
std::set<std::string> declaredIn(const std::string& text)
{
    static const std::regex type(R"((?:static |const |constexpr )*)"
                                 R"((?:Orv\w+|BITMAPINFOHEADER|float|double|void|char|size_t|u?int\d*(?:_t)?)\b)");
    static const std::regex last(R"((\w+)\s*$)");
    std::smatch match;
    if (!std::regex_search(text, match, type, std::regex_constants::match_continuous))
        return {};
    std::set<std::string> names;
    std::string part;
    int depth = 0;
    bool given = false;
    for (size_t i = size_t(match.length()); i < text.size(); ++i) {
        char c = text[i];
        given = given || strchr("=[({", c);
        depth += strchr("([{", c) ? 1 : strchr(")]}", c) ? -1 : 0;
        if (depth == 0 && (c == ',' || c == ';' || c == '}')) {
            if (std::regex_search(part, match, last))
                names.insert(match[1]);
            part.clear();
            given = false;
        } else if (!given) {
            part += c;
        }
    }
    return names;
}

// Divides a text where a statement or a body ends outside of all brackets.
std::vector<Piece> piecesOf(const std::string& text)
{
    std::vector<Piece> pieces;
    int depth = 0;
    std::string piece;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (text.compare(i, 2, "//") == 0) {
            i = std::min(text.find('\n', i), text.size()) - 1;
            continue;
        }
        if (piece.empty() && isspace(static_cast<unsigned char>(c)))
            continue;
        if (piece.empty() && c == '#') {
            while (i < text.size() && text[i] != '\n')
                i += text[i] == '\\' ? 2 : 1;
            continue;
        }
        piece += c;
        depth += strchr("([{", c) ? 1 : strchr(")]}", c) ? -1 : 0;
        bool ends = depth == 0 &&
                    (c == ';' || (c == '}' && text.compare(i + 1, 1, ";") != 0 && piece.find('=') > piece.find('{')));
        if (ends) {
            pieces.push_back({piece, namesIn(piece), declaredIn(piece)});
            piece.clear();
        }
    }
    return pieces;
}

// The text between the braces of the function that a line of a source belongs to; nothing for a function that a macro
// made.
std::string bodyAround(const Place& place, const std::string& source)
{
    size_t at = 0;
    for (int line = 1; line < place.line && at != std::string::npos; ++line)
        at = source.find('\n', at) + 1;
    size_t begin = source.rfind("\n{\n", at), end = source.find("\n}\n", at);
    size_t before = source.rfind("\n}\n", at);
    if (begin == std::string::npos || end == std::string::npos || (before != std::string::npos && before > begin))
        return "";
    return source.substr(begin + 3, end - begin - 2);
}

class Program {
public:
    Program(const Entry& entry, const Stage& stage) : entry(entry), stage(stage)
    {
        // The compiler may have been given another path to the same file.
        std::string source = readFile(SOURCES / std::filesystem::path(stage.place.file).filename());
        std::string body = bodyAround(stage.place, source);
        local = piecesOf(body);
        // The unnamed namespace, without what opens and closes it.
        static const std::string opening = "\nnamespace {\n";
        size_t begin = source.find(opening), end = source.find("\n}  // namespace\n");
        if (begin != std::string::npos && end != std::string::npos)
            global = piecesOf(source.substr(begin + opening.size(), end - begin - opening.size()));
        nameProps(body);
        for (const CodeLine& line : stage.lines)
            calls.push_back(plainCall(line.text));
    }

    std::string text()
    {
        for (const std::string& declaration : stage.declarations)
            for (const std::string& name : namesIn(declaration))
                resolved.insert(name);
        for (const std::string& call : calls)
            for (const std::string& name : namesIn(call))
                resolve(name);
        return head() + functions() + mainFunction();
    }

private:
    // Images that are not shown have names in the source alone.
    void nameProps(const std::string& body)
    {
        static const std::regex hidden(R"((\w+) = stage\.hidden\()");
        std::sregex_iterator next(body.begin(), body.end(), hidden), end;
        for (Prop prop : stage.props) {
            if (prop.name.empty() && next != end)
                prop.name = (*next++)[1];
            if (!prop.name.empty() && resolved.insert(prop.name).second && isMentioned(prop.name))
                props.push_back(prop);
        }
    }

    bool isMentioned(const std::string& name) const
    {
        for (const CodeLine& line : stage.lines)
            if (namesIn(line.text).contains(name))
                return true;
        for (const Piece& piece : local)
            if (piece.text.starts_with("OrvImage*") && piece.names.contains(name))
                return true;
        return false;
    }

    // The gallery's images are made of pointers.
    static std::string plainCall(const std::string& text)
    {
        static const std::regex made(R"(= Image\((.*)\);)");
        return std::regex_replace(text, made, "= $1;");
    }

    // Whether a piece can stand in a program without the gallery.
    static bool isPlain(const Piece& piece)
    {
        static const std::set<std::string> own = {"stage",   "Stage",   "Image",     "photo", "converted", "part",
                                                  "ellipse", "stripes", "channelOf", "View",  "Entry",     "Family"};
        for (const std::string& name : piece.names)
            if (own.contains(name))
                return false;
        return true;
    }

    bool resolveIn(std::vector<Piece>& pieces, const std::string& name)
    {
        for (Piece& piece : pieces) {
            if (!piece.declared.contains(name))
                continue;
            if (piece.used)
                return true;
            if (!isPlain(piece))
                return false;
            std::set<std::string> before = resolved;
            piece.used = true;
            resolved.insert(piece.declared.begin(), piece.declared.end());
            for (const std::string& other : piece.names)
                if (!resolve(other)) {
                    piece.used = false;
                    resolved = before;
                    return false;
                }
            return true;
        }
        return false;
    }

    // Sees to it that a name is declared; false for one of the gallery's.
    bool resolve(const std::string& name)
    {
        static const std::set<std::string> language = {
            // and what programs include"const",       "static",
            "constexpr", "auto",   "for",    "if",          "else",
            "return",    "while",  "int",    "float",       "double",
            "char",      "void",   "bool",   "true",        "false",
            "nullptr",   "size_t", "sizeof", "static_cast", "reinterpret_cast",
            "std",       "max",    "min",    "abs",         "sqrt",
            "hypot",     "cos",    "sin",    "atan2",       "exp",
            "lround",    "floor",  "ceil",   "memcpy"};
        if (resolved.contains(name) || name.starts_with("orv") || name.starts_with("Orv") || name.starts_with("ORV_") ||
            name.starts_with("BI_") || name == "BITMAPINFOHEADER" || name.ends_with("_t"))
            return true;
        resolved.insert(name);
        if (resolveIn(local, name) || resolveIn(global, name))
            return true;
        if (language.contains(name) || isLocalOfCall(name) || resolveByType(name))
            return true;
        resolved.erase(name);
        return false;
    }

    // Loop variables and the like.
    bool isLocalOfCall(const std::string& name) const
    {
        const std::regex pattern(R"(\b(?:u?int\d*(?:_t)?|auto|double|float)[ *&]+)" + name + R"(\b)");
        for (const std::string& call : calls)
            if (std::regex_search(call, pattern))
                return true;
        for (const Piece& piece : local)
            if (piece.used && std::regex_search(piece.text, pattern))
                return true;
        for (const Piece& piece : global)
            if (piece.used && std::regex_search(piece.text, pattern))
                return true;
        return false;
    }

    bool resolveByType(const std::string& name)
    {
        static const auto signatures = readSignatures();
        static const std::regex call(R"(\b(orv\w+)(\())");
        for (const std::string& text : calls)
            for (std::sregex_iterator it(text.begin(), text.end(), call), end; it != end; ++it) {
                std::vector<std::string> arguments = argumentsAt(text, size_t(it->position(2)));
                auto signature = signatures.find((*it)[1]);
                for (size_t i = 0; i < arguments.size(); ++i) {
                    if (signature == signatures.end() || i >= signature->second.size())
                        continue;
                    bool byAddress = arguments[i] == "&" + name;
                    if (arguments[i] == name || byAddress)
                        return declareAs(name, signature->second[i], byAddress);
                }
            }
        return false;
    }

    bool declareAs(const std::string& name, std::string type, bool byAddress)
    {
        size_t bar = type.find('|');
        if (bar == std::string::npos)
            return false;
        std::string extents = type.substr(bar + 1);
        type.erase(bar);
        bool isPointer = type.ends_with("*");
        if (isPointer)
            type.pop_back();
        if (type.starts_with("const "))
            type.erase(0, 6);
        while (type.ends_with(" "))
            type.pop_back();
        if (type == "void")
            type = "uint8_t";
        // A record may be the library's own, which alone knows what is in it.
        if (isPointer && !byAddress && type.starts_with("Orv")) {
            guessed.push_back(type + "* " + name + " = nullptr;  // to be made");
            return true;
        }
        std::string number = byAddress || extents.size() ? "" : isPointer ? "[256]" : "";
        guessed.push_back(type + ' ' + name + number + extents + " = {};  // to be filled");
        return true;
    }

    std::string head() const
    {
        return "// " + std::string(entry.name) + ": " + entry.text +
               "\n// Built with: c++ -std=c++17 program.cpp $(pkg-config --cflags --libs orvz3)\n"
               "#include <orv.h>\n\n#include <algorithm>\n#include <cmath>\n#include <cstring>\n\n";
    }

    std::string functions() const
    {
        std::string text =
            "// An image whose pixels are 0; row y of plane p begins at imageData + (p * height + y) * widthStep.\n"
            "static OrvImage* newImage(int32_t channels, uint32_t depth, int32_t width, int32_t height,\n"
            "                          int32_t dataOrder = ORV_DATA_ORDER_PIXEL)\n"
            "{\n"
            "    const char* colours = channels < 3 ? \"G\" : \"RGB\";\n"
            "    OrvImage* image = orvCreateImageHeader(channels, channels == 4 ? 4 : 0, depth, channels < 3 ? "
            "\"GRAY\" : colours,\n"
            "                                           colours, dataOrder, ORV_ORIGIN_TL, 32, width, height, nullptr, "
            "nullptr,\n"
            "                                           nullptr, nullptr);\n"
            "    if (depth == ORV_DEPTH_32F)\n"
            "        orvAllocateImageFP(image, 1, 0);\n"
            "    else\n"
            "        orvAllocateImage(image, 1, 0);\n"
            "    return image;\n"
            "}\n\n";
        for (const Piece& piece : global)
            if (piece.used)
                text += "static " + std::regex_replace(piece.text, std::regex("^static "), "") + "\n\n";
        return text;
    }

    static std::string depthOf(const Prop& prop)
    {
        if (prop.depth == ORV_DEPTH_32F)
            return "ORV_DEPTH_32F";
        return "ORV_DEPTH_" + std::to_string(prop.depth & ORV_DEPTH_MASK) + (prop.depth & ORV_DEPTH_SIGN ? "S" : "U");
    }

    std::string mainFunction() const
    {
        std::string text =
            "int main()\n{\n    orvSetErrMode(ORV_ErrorModeParent);\n    orvRedirectError(orvStdErrReport);\n\n";
        for (const Prop& prop : props)
            text += "    OrvImage* " + prop.name + " = newImage(" + std::to_string(prop.channels) + ", " +
                    depthOf(prop) + ", " + std::to_string(prop.width) + ", " + std::to_string(prop.height) +
                    (prop.dataOrder == ORV_DATA_ORDER_PLANE ? ", ORV_DATA_ORDER_PLANE" : "") + ");" +
                    (prop.isSource ? "  // to be filled" : "") + "\n";
        for (const std::string& declaration : stage.declarations)
            text += "    " + declaration + "\n";
        for (const std::string& declaration : guessed)
            text += "    " + declaration + "\n";
        for (const Piece& piece : local)
            if (piece.used)
                text += "    " + piece.text + "\n";
        text += "\n";
        for (const std::string& call : calls)
            text += "    " + std::regex_replace(laidOut(call), std::regex("\n"), "\n    ") + "\n";
        text += "\n";
        for (const Prop& prop : props)
            text += "    orvDeallocate(" + prop.name + ", ORV_IMAGE_ALL);\n";
        return text + "    return orvGetErrStatus() < 0;\n}\n";
    }

    const Entry& entry;
    const Stage& stage;
    std::vector<Piece> local, global;
    std::vector<Prop> props;
    std::vector<std::string> calls, guessed;
    std::set<std::string> resolved;
};

}  // namespace

std::string laidOut(const std::string& code)
{
    std::string result;
    int parentheses = 0, braces = 0;
    for (size_t i = 0; i < code.size(); ++i) {
        char c = code[i];
        parentheses += c == '(' ? 1 : c == ')' ? -1 : 0;
        braces += c == '{' ? 1 : c == '}' ? -1 : 0;
        result += c;
        if (parentheses == 0 && (c == '{' || c == ';') && i + 1 < code.size()) {
            bool closes = code[i + 2] == '}';
            result += '\n' + std::string(size_t(closes ? braces - 1 : braces) * 4, ' ');
            ++i;
        }
    }
    return result;
}

std::vector<std::string> functionsOf(const Stage& stage)
{
    static const std::regex name("\\b(orv[A-Z]\\w*)\\(");
    std::vector<std::string> functions;
    for (const CodeLine& line : stage.lines)
        for (std::sregex_iterator it(line.text.begin(), line.text.end(), name), end; it != end; ++it)
            if (std::find(functions.begin(), functions.end(), (*it)[1].str()) == functions.end())
                functions.push_back((*it)[1]);
    return functions;
}

std::string programOf(const Entry& entry, const Stage& stage)
{
    return Program(entry, stage).text();
}

}  // namespace gallery

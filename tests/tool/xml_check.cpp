#include "xml_check.h"

#include <cctype>
#include <set>
#include <vector>

namespace {

bool isNameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' || c == ':';
}

class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    std::string fault() {
        const std::string_view declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
        if (text_.substr(0, declaration.size()) != declaration) return "no declaration";
        text_.remove_prefix(declaration.size());
        std::vector<std::string> open;
        bool hadRoot = false;
        while (!text_.empty()) {
            if (text_.front() != '<') {
                const std::string_view run = text_.substr(0, text_.find('<'));
                if (open.empty() && run.find_first_not_of(" \n") != std::string_view::npos) {
                    return "text outside the root";
                }
                if (!isSoundText(run)) return "bad text: " + std::string(run);
                text_.remove_prefix(run.size());
            } else if (take("</")) {
                const std::string name = takeName();
                if (open.empty() || open.back() != name) return "misplaced end of " + name;
                if (!take(">")) return "unfinished end of " + name;
                open.pop_back();
            } else {
                take("<");
                const std::string name = takeName();
                if (name.empty()) return "element without a name";
                if (open.empty() && hadRoot) return "second root " + name;
                hadRoot = true;
                if (!takeAttributes()) return "bad attributes of " + name;
                if (take("/>")) continue;
                if (!take(">")) return "unfinished " + name;
                open.push_back(name);
            }
        }
        if (!open.empty()) return open.back() + " never ends";
        return hadRoot ? "" : "no root";
    }

  private:
    bool take(std::string_view wanted) {
        if (text_.substr(0, wanted.size()) != wanted) return false;
        text_.remove_prefix(wanted.size());
        return true;
    }
    std::string takeName() {
        std::string name;
        while (!text_.empty() && isNameChar(text_.front())) {
            name += text_.front();
            text_.remove_prefix(1);
        }
        return name;
    }
    bool takeAttributes() {
        std::set<std::string> names;
        while (take(" ")) {
            const std::string name = takeName();
            if (name.empty() || !names.insert(name).second || !take("=\"")) return false;
            const auto end = text_.find('"');
            if (end == std::string_view::npos || !isSoundText(text_.substr(0, end))) return false;
            text_.remove_prefix(end + 1);
        }
        return true;
    }
    static bool isSoundText(std::string_view run) {
        for (std::size_t i = 0; i < run.size(); ++i) {
            const char c = run[i];
            if (c == '<') return false;
            if (static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\t') return false;
            if (c != '&') continue;
            bool known = false;
            for (const std::string_view entity : {"&amp;", "&lt;", "&gt;", "&quot;"}) {
                known = known || run.substr(i, entity.size()) == entity;
            }
            if (!known) return false;
        }
        return true;
    }

    std::string_view text_;
};

std::size_t countIn(std::string_view text, const std::string& what) {
    std::size_t count = 0;
    for (auto at = text.find(what); at != std::string_view::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

}  // namespace

std::string xmlFault(std::string_view text) {
    return Reader(text).fault();
}

std::size_t countElements(const std::string& text, const std::string& name, const std::string& id) {
    if (id.empty()) return countIn(text, "<" + name + " ");
    const auto start = text.find("<g id=\"" + id + "\"");
    if (start == std::string::npos) return 0;
    // These groups hold no further groups.
    return countIn(std::string_view(text).substr(start, text.find("</g>", start) - start),
                   "<" + name + " ");
}

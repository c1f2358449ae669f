#include "foundation/persistent.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>

#if defined(__GNUG__)
#include <cxxabi.h>

#include <cstdlib>
#endif

#include "foundation/archive.h"

namespace ptmatch::detail {

/// The entries that exist, in a list through the entries themselves. The list needs no
/// construction, so that entries of any source file can join it before that of another has run its
/// initialisation.
struct TypeRegistry {
    using Factory = rxPersistent* (*)();

    static constinit std::mutex mutex;
    static constinit rx_Instantiator* first;

    static void add(rx_Instantiator& entry) {
        const std::lock_guard lock(mutex);
        entry.next_ = std::exchange(first, &entry);
    }

    static void remove(const rx_Instantiator& entry) {
        const std::lock_guard lock(mutex);
        rx_Instantiator** link = &first;
        while (*link != &entry) link = &(*link)->next_;
        *link = entry.next_;
    }

    static std::string nameOf(const std::type_info& type) {
        const std::lock_guard lock(mutex);
        for (const rx_Instantiator* entry = first; entry != nullptr; entry = entry->next_) {
            if (entry->type() == type) return entry->name();
        }
        throw rxArchive::Errors(std::string("the class ") + type.name() +
                                " is not registered, so its objects cannot be stored by name");
    }

    /// A new object of the class that the name stands for; null when it stands for none.
    static std::unique_ptr<rxPersistent> instantiate(const std::string& name) {
        const Factory factory = factoryOf(name);
        return std::unique_ptr<rxPersistent>(factory == nullptr ? nullptr : factory());
    }

    static Factory factoryOf(const std::string& name) {
        const std::lock_guard lock(mutex);
        const rx_Instantiator* found = nullptr;
        for (const rx_Instantiator* entry = first; entry != nullptr; entry = entry->next_) {
            if (entry->name() != name) continue;
            if (found != nullptr && found->type() != entry->type()) {
                throw rxArchive::Errors("the class name " + name +
                                        " is registered for two different classes");
            }
            found = entry;
        }
        return found == nullptr ? nullptr : found->factory_;
    }
};

constinit std::mutex TypeRegistry::mutex;
constinit rx_Instantiator* TypeRegistry::first = nullptr;

}  // namespace ptmatch::detail

using ptmatch::detail::TypeRegistry;

namespace {

/// The qualified name of the class as written in its source.
std::string qualifiedName(const std::type_info& type) {
#if defined(__GNUG__)
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
    if (status == 0) return name.get();
#endif
    return type.name();
}

/// The text in quotes, cut to a readable length and without control characters: it comes from
/// untrusted input and goes into messages.
std::string quoted(const std::string& text) {
    constexpr std::size_t kLongest = 80;
    std::string shown = text.substr(0, kLongest);
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return '"' + shown + (text.size() > kLongest ? "..." : "") + '"';
}

}  // namespace

rxPersistent::~rxPersistent() {
    rxArchive::Operation::forget_(this);
}

void rxPersistent::reInit() {}

void rxPersistent::loadSimple(rxArchive& ar) {
    if (!ar.isLoading())
        throw rxArchive::Errors("an object cannot be loaded from a storing archive");
    ar || *this;
    reInit();
}

bool rxPersistent::haveVisited(const void* object, std::size_t size) {
    rxArchive::Operation* operation = rxArchive::Operation::running_();
    if (operation == nullptr) return false;
    if (operation->marks_.contains({object, size, operation->levelOf_(object)})) return true;
    operation->open_.push_back(object);
    return false;
}

void rxPersistent::setVisited(const void* object, std::size_t size) {
    rxArchive::Operation* operation = rxArchive::Operation::running_();
    if (operation == nullptr) return;
    // Records above it on the stack, if any, were left by an exception that somebody caught.
    auto& open = operation->open_;
    const auto last = std::find(open.rbegin(), open.rend(), object);
    if (last != open.rend()) open.erase(std::prev(last.base()), open.end());
    operation->marks_.emplace(object, size, operation->levelOf_(object));
}

rxArchive& operator||(rxArchive& ar, rxPersistent& object) {
    rxArchive::Operation* running = rxArchive::Operation::running_();
    if (running == nullptr || running->archive_ != &ar) {
        const rxArchive::Operation operation(ar);
        return ar || object;
    }
    const rxArchive::NestingGuard nesting(ar);  // only now, lest one record count twice
    // The entry counts as a level of its own: the record of the whole object is told apart from
    // that of a base class alone. What an exception leaves open above it is closed.
    struct Entry {
        std::vector<const void*>& open;
        std::size_t size;
        ~Entry() { open.resize(size); }
    } const entry{running->open_, running->open_.size()};
    entry.open.push_back(&object);
    object.dispatchSerialize(ar);
    return ar;
}

rx_Instantiator::rx_Instantiator(const std::type_info& type, rxPersistent* (*factory)(),
                                 const char* name)
    : type_(type), factory_(factory), name_(name != nullptr ? name : qualifiedName(type)) {
    TypeRegistry::add(*this);
}

rx_Instantiator::~rx_Instantiator() {
    TypeRegistry::remove(*this);
}

std::unique_ptr<rxPersistent> rx_Instantiator::instantiate() const {
    return std::unique_ptr<rxPersistent>(factory_());
}

void rfStorePolymorphic(rxArchive& ar, const rxPersistent& object) {
    if (!ar.isStoring()) throw rxArchive::Errors("an object cannot be stored to a loading archive");
    const rxArchive::Operation operation(ar);
    std::string name = TypeRegistry::nameOf(typeid(object));
    // One function passes a record in both directions, so it takes a reference to change; a storing
    // archive changes nothing.
    ar || name || const_cast<rxPersistent&>(object);
}

std::unique_ptr<rxPersistent> rfLoadPolymorphic(rxArchive& ar) {
    if (!ar.isLoading())
        throw rxArchive::Errors("an object cannot be loaded from a storing archive");
    const rxArchive::Operation operation(ar);
    std::string name;
    ar || name;
    std::unique_ptr<rxPersistent> object = TypeRegistry::instantiate(name);
    if (object == nullptr) {
        throw rxArchive::Errors("no class is registered under the name " + quoted(name) +
                                " that the archive holds");
    }
    object->loadSimple(ar);
    return object;
}

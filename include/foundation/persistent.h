#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <typeinfo>

#include "foundation/export.h"

class rxArchive;

namespace ptmatch::detail {
struct TypeRegistry;
}

/// Base of every object that is stored and loaded through its dynamic type.
///
/// Plain value classes do not need it: a free `operator||(rxArchive&, T&)` is enough for them.
/// Derive from rxPersistent when an object has to travel through a pointer to its base, as
/// exceptions do:
///
///     rfStorePolymorphic(storing, error);                              // any registered class
///     std::unique_ptr<rxPersistent> copy = rfLoadPolymorphic(loading); // same dynamic type
///
/// Each class of a hierarchy writes a record of its own, the most derived one first, in this shape:
///
///     void Derived::dispatchSerialize(rxArchive& ar) {
///         if (haveVisited(this, sizeof *this)) return;
///         unsigned char version = 0;
///         ar || version;
///         serialize_(ar, version);  // the version, the fields, then Base::dispatchSerialize
///         setVisited(this, sizeof *this);
///     }
///
/// Make rxPersistent the first base, so that its address is the address of the whole object.
class PTMATCH_EXPORT rxPersistent {
  public:
    virtual ~rxPersistent();

  protected:
    rxPersistent() = default;
    rxPersistent(const rxPersistent&) = default;
    rxPersistent& operator=(const rxPersistent&) = default;

    /// Passes the object's record through the archive, in the archive's direction.
    virtual void dispatchSerialize(rxArchive& ar) = 0;

  public:
    /// Rebuilds what the record does not hold; called once after a load. Does nothing by default.
    virtual void reInit();

    /// Loads the object's record (without a class name) and calls reInit().
    /// @throws rxArchive::Errors: the archive is storing, or what the record's own loading throws.
    virtual void loadSimple(rxArchive& ar);

  protected:
    /// True when the running operation (rxArchive::Operation) of this thread has already handled
    /// this record of the object. False opens the record; setVisited closes it.
    ///
    /// A mark is kept per object, size and level, where the level counts the records that are open
    /// on the same object. A derived class and its base of equal size, which share address and
    /// size, thus have marks of their own. Outside any operation nothing is marked and the answer
    /// is false.
    static bool haveVisited(const void* object, std::size_t size);

    /// Closes the record that haveVisited opened and marks it as handled for the running operation.
    /// The mark goes with the operation or with the object, whichever ends first.
    static void setVisited(const void* object, std::size_t size);

    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPersistent& object);
};

/// Passes the record of an object whose class both sides know; no class name is recorded. Within an
/// operation on this archive the record is part of it, otherwise it is an operation of its own.
/// @throws rxArchive::Errors: records nested deeper than rxArchive::kMaxNesting (a cycle, for one).
/// The exceptions of this library keep what they held when their load fails; but when memory runs
/// out, they may hold the record already.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPersistent& object);

/// One entry of the type registry: how to make an empty object of a class, by the name that stands
/// for the class in archives. Define one as a static member of the class, beside its constructors:
///
///     const rx_Instantiator Errors::sExemplar(typeid(Errors), &Errors::make, "Scope::Errors");
///
/// Entries can be made and destroyed at any time, in any order of static initialisation, from any
/// thread. An entry in an object file of a static library that the linker had no reason to take in
/// does not exist: keep it in the file that also defines the members every user of the class needs.
class PTMATCH_EXPORT rx_Instantiator {
  public:
    /// @param type     the class; refers to an object with static storage, as typeid does.
    /// @param factory  returns a new default object of exactly that class, owned by the caller.
    /// @param name     the name in archives, the same on every platform; copied. Null takes the
    /// class's
    ///                 qualified name as the compiler spells it, which is portable for classes that
    ///                 are neither templates nor in an unnamed namespace.
    rx_Instantiator(const std::type_info& type, rxPersistent* (*factory)(),
                    const char* name = nullptr);
    ~rx_Instantiator();
    rx_Instantiator(const rx_Instantiator&) = delete;
    rx_Instantiator& operator=(const rx_Instantiator&) = delete;

    /// The class; refers to an object with static storage.
    const std::type_info& type() const { return type_; }
    /// The name of the class in archives.
    const std::string& name() const { return name_; }

    /// A new default object of the registered class.
    std::unique_ptr<rxPersistent> instantiate() const;

  private:
    friend struct ptmatch::detail::TypeRegistry;

    const std::type_info& type_;
    rxPersistent* (*factory_)();
    std::string name_;
    rx_Instantiator* next_ = nullptr;
};

/// Stores the object with the name of its dynamic class, so that rfLoadPolymorphic can remake it.
/// The record is complete in itself: an object stored twice is recorded twice.
/// @throws rxArchive::Errors: the archive is loading, or the class is not registered.
PTMATCH_EXPORT void rfStorePolymorphic(rxArchive& ar, const rxPersistent& object);

/// Loads an object stored by rfStorePolymorphic; its dynamic type is the one that was stored.
/// @throws rxArchive::Errors: the archive is storing, the name is not registered or stands for two
/// classes, or the record is bad.
PTMATCH_EXPORT std::unique_ptr<rxPersistent> rfLoadPolymorphic(rxArchive& ar);

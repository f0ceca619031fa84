#include "core/platform/TypeName.h"

#include "core/platform/Apart.h"
#include "core/platform/Thread.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

#if !defined(_MSC_VER)
# include <cstdlib>
# include <cxxabi.h>
#endif

// Names of types for records and messages, made once and kept.
//
// Every record that is written asks for the name of its object's type, from any thread, and to make
// a name takes memory. So a type that is known is found without a lock, by the address of its
// `type_info`, and only a new one takes the lock. A standard map would need the lock for each
// question, as it cannot be read while it grows.
namespace platform {

namespace {

/// What is known of one type_info. A module that is unloaded may leave its place in memory to
/// another one, so an address stands for a type only together with the type's own text.
struct KnownType {
    const std::type_info* type;
    const char* decorated; // owned by the name table
    const char* name;      // owned by the name table
    const KnownType* next;
};

constexpr std::size_t kListCount = 1024;

// Lists of types by address. They only grow, so that they are read without a lock, and nothing is
// destroyed at the end of the process, when other static objects may still ask.
constinit std::atomic<const KnownType*> g_lists[kListCount];

std::size_t ListOf(const std::type_info& type)
{
    const auto address = std::uint64_t{reinterpret_cast<std::uintptr_t>(&type)};
    return static_cast<std::size_t>(address * 0x9E3779B97F4A7C15u >> 54);
}

const char* Find(const KnownType* known, const std::type_info& type)
{
    for (; known != nullptr; known = known->next) {
        if (known->type == &type && std::strcmp(known->decorated, type.name()) == 0)
            return known->name;
    }
    return nullptr;
}

// Apart, so that to find a name needs no registers saved.
QD_APART const char* Learn(const std::type_info& type, std::atomic<const KnownType*>& list)
{
    static std::mutex lock;
    [[maybe_unused]] static const bool isHeldAtFork = (HoldAtFork<lock>(), true);
    // One name for all type_infos of a type: each module may have its own.
    static auto& names = *new std::unordered_map<std::string, std::string>; // guarded by lock
    const std::scoped_lock guard(lock);
    // Another thread may have learnt it meanwhile.
    if (const char* const name = Find(list.load(), type))
        return name;
    auto found = names.find(type.name());
    if (found == names.end())
        found = names.emplace(type.name(), MakeTypeName(type)).first;
    list = new KnownType{&type, found->first.c_str(), found->second.c_str(), list.load()};
    return found->second.c_str();
}

} // namespace

const char* TypeName(const std::type_info& type)
{
    std::atomic<const KnownType*>& list = g_lists[ListOf(type)];
    if (const char* const name = Find(list.load(std::memory_order_acquire), type))
        return name;
    return Learn(type, list);
}

// It is the compiler, not the system, that decides how a type's own text is decorated.
#if defined(_MSC_VER)

std::string MakeTypeName(const std::type_info& type)
{
    return type.name();
}

#else

namespace {

struct FreeDeleter {
    void operator()(char* text) const noexcept { std::free(text); }
};

} // namespace

std::string MakeTypeName(const std::type_info& type)
{
    int status = 0;
    const std::unique_ptr<char, FreeDeleter> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status));
    if (status == -1) // no memory: the decorated name would be kept, and written into files
        throw std::bad_alloc();
    return std::string("class ") + (status == 0 ? name.get() : type.name());
}

#endif

} // namespace platform

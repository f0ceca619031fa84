#pragma once

#include <csignal>
#include <sys/resource.h>

/// A limit of this process on Linux while it lives. Beyond RLIMIT_FSIZE writing fails, as on a full
/// disk.
class ResourceLimit {
public:
    using Resource = decltype(RLIMIT_FSIZE);

    ResourceLimit(Resource resource, rlim_t limit)
        : m_resource(resource)
        , m_formerHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(m_resource, &m_former);
        const rlimit meanwhile = {limit, m_former.rlim_max};
        ::setrlimit(m_resource, &meanwhile);
    }
    ~ResourceLimit()
    {
        ::setrlimit(m_resource, &m_former);
        std::signal(SIGXFSZ, m_formerHandler);
    }
    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;

private:
    Resource m_resource;
    void (*m_formerHandler)(int);
    rlimit m_former = {};
};

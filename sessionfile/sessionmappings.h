#pragma once

namespace sessionfile
{

/// Has both id mappers empty from its construction on, and empties them when it goes.
///
/// One thread at a time writes or reads sessions: the mappers are singletons.
class SessionMappings
{
public:
    SessionMappings();
    SessionMappings(const SessionMappings&) = delete;
    SessionMappings& operator=(const SessionMappings&) = delete;
    ~SessionMappings();
};

} // namespace sessionfile

// What a scatter object tells the host's log about its work: "DRAVIN 6.3.1 'grass' :
// BuildItemArray".
//
// Kept while the object is rendered, or built as renders see it, as far as the log level lets it
// pass; with the option `forceLog` always. Knows the object as it was when this was made, so that
// threads without a session may write.
#pragma once

#include <string>

#include "host/base/log.h"

class TDravin;

class TObjectLog {
public:
    TObjectLog() = default;  // keeps nothing
    explicit TObjectLog(const TDravin& object);

    void operator()(LogKind kind, const std::string& message) const;

private:
    std::string m_name;
    bool m_isForced = false, m_isRendering = false;
};

inline void ObjectLog(const TDravin& object, LogKind kind, const std::string& message) {
    TObjectLog log(object);
    log(kind, message);
}

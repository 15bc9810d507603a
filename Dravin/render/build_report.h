// The objects that a render showed wrongly, told to the user when it has ended.
#pragma once

#include <string>

class TDravin;

class TBuildReport {
public:
    static constexpr int kMostNames = 20;

    // Notes the object when its last build did not end well.
    void Check(const TDravin& object);
    // A message with the names, where there are any and the host is not quiet.
    void Show() const;
    bool IsEmpty() const { return m_names.empty(); }

private:
    std::string m_names;  // a line each
    int m_count = 0;
};

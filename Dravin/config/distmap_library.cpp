#include "Dravin/config/distmap_library.h"

#include "Dravin/config/index_file.h"
#include "host/scene/host_context.h"

namespace {

void Tell(const std::string& text) {
    HostContext* context = HostContext::Current();
    if (context) context->UserInterface().MessageBox(text, "Dravin Pack");
}

}  // namespace

bool TDistMapLibrary::Read(const std::string& folder) {
    if (!m_entries.empty()) return true;
    std::string path = folder + "/index.dat";
    IndexFile index = ReadIndexFile(path, 2);
    for (const auto& fields : index.entries) m_entries.push_back({fields[0], fields[1]});
    if (!index.opened) {
        Tell("Error opening file:  \n" + path);
        return false;
    }
    if (index.badLine) {
        Tell("Error reading distmaps\\index.dat. Bad format !");
        return false;
    }
    m_entries.push_back({"Other", ""});
    return true;
}

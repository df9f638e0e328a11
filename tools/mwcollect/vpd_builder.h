// Vital product data of PCI functions: for the simulated machine and for tests.
#ifndef MWCOLLECT_VPD_BUILDER_H
#define MWCOLLECT_VPD_BUILDER_H

#include <string>

namespace collect {

inline std::string VpdField(const std::string &keyword, const std::string &text) {
    return keyword + static_cast<char>(text.size()) + text;
}

inline std::string VpdResource(unsigned char tag, const std::string &data) {
    return std::string(1, static_cast<char>(tag)) + static_cast<char>(data.size() & 0xFF) +
           static_cast<char>(data.size() >> 8) + data;
}

}  // namespace collect

#endif

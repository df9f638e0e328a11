// The fields that every record of a PCI device has, whatever its kind.
#ifndef MWCOLLECT_PCI_RECORD_H
#define MWCOLLECT_PCI_RECORD_H

#include <cstring>
#include <string_view>
#include <tuple>

#include "pci.h"

namespace collect {

template <class Record>
void FillAddress(Record &info, const PciAddress &address) {
    info.ucBus = address.bus;
    info.ucDevice = address.device;
    info.ucFunction = address.function;
}

template <class Record>
void FillIdentity(Record &info, const PciFunction &function) {
    info.wVendorId = function.vendor;
    info.wDeviceId = function.device;
    info.wSubVendorId = function.sub_vendor;
    info.wSubDeviceId = function.sub_device;
    FillAddress(info, function.address);
}

template <class Record>
void FillLinks(Record &info, const PciFunction &function) {
    info.ucLinkSpeed = function.link.speed;
    info.ucLinkWidth = function.link.width;
    info.ucMaxLinkSpeed = function.max_link.speed;
    info.ucMaxLinkWidth = function.max_link.width;
    info.ucNumaNode = function.numa_node.value_or(255);
}

// What a device is known by, but for its domain, which not all records keep alike.
template <class Record>
auto Identity(const Record &info) {
    return std::tuple(info.ucBus, info.ucDevice, info.ucFunction, info.wVendorId, info.wDeviceId,
                      info.wSubVendorId, info.wSubDeviceId);
}

// Whether a card's record is about the card that was found; one whose serial number is not known can be any.
template <class Record>
bool HasSerialOf(const Record &stored, const Record &found) {
    const std::string_view serial(found.acSerialNum);
    return serial.empty() ||
           serial ==
               std::string_view(stored.acSerialNum, strnlen(stored.acSerialNum, sizeof stored.acSerialNum));
}

}  // namespace collect

#endif

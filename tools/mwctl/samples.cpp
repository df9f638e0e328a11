#include "samples.h"

#include <cmath>

#include "value.h"
#include "walk.h"

namespace mwctl {
namespace {

Quantity QuantityOf(const Field &field) {
    if (field.sense == Sense::kHealth) return Quantity::kHealth;
    if (field.sense == Sense::kAlarm) return Quantity::kAlarm;
    return field.unit == "C"           ? Quantity::kTemperature
           : field.unit.ends_with('W') ? Quantity::kPower
                                       : Quantity::kFanSpeed;
}

double NumberAt(const Value &value) {
    const Field &field = value.field;
    if (field.kind == Kind::kFloat) return FloatAt(field, value.bytes, value.index);
    const double number = field.kind == Kind::kSigned
                              ? static_cast<double>(SignedAt(field, value.bytes, value.index))
                              : static_cast<double>(UnsignedAt(field, value.bytes, value.index));
    const int digits = field.decimals + (field.unit == "mW" ? 3 : 0);
    return number / std::pow(10.0, digits);
}

bool HasReading(const Value &value) {
    const Field &field = value.field;
    if (HasNoValue(field, value.bytes, value.index)) return false;
    if (field.valid_at >= 0 && (static_cast<uint8_t>(value.bytes[field.valid_at]) & field.valid_mask) == 0)
        return false;
    return !field.quiet_zero || UnsignedAt(field, value.bytes, value.index) != 0;
}

}  // namespace

bool Sample::IsBad() const {
    if (quantity == Quantity::kAlarm) return value != 0;
    return quantity == Quantity::kHealth && value != 0 && code != "good";
}

std::vector<Sample> SamplesOf(const std::vector<ModuleReading> &readings) {
    std::vector<Sample> samples;
    for (const ModuleReading &module : readings) {
        for (const Reading &reading : module.records) {
            Walk(*module.module, reading, [&](const Value &value) {
                const Field &field = value.field;
                if (field.sense == Sense::kNone || (field.first_only && value.index != 0)) return;
                Sample sample{QuantityOf(field),       module.module, value.path,
                              std::string(value.name), field.label,   0};
                if (field.first_only) sample.label = sample.label.substr(0, sample.label.find(','));
                if (sample.quantity == Quantity::kAlarm) {
                    sample.value = UnsignedAt(field, value.bytes, value.index) != 0;
                    if (field.IsState() && field.count != 0) sample.label = CodeName(field, value.index);
                } else if (sample.quantity == Quantity::kHealth) {
                    sample.value = NumberAt(value);
                    sample.code = CodeName(field, UnsignedAt(field, value.bytes, value.index));
                } else if (HasReading(value)) {
                    sample.value = NumberAt(value);
                } else {
                    return;
                }
                samples.push_back(std::move(sample));
            });
        }
    }
    return samples;
}

}  // namespace mwctl

// A management service's full refresh: every field of every module, read through the getters, against the
// same fields as D-Bus properties and as Redis hashes.
#include <dbus/dbus.h>
#include <hiredis/hiredis.h>

#include <cmath>
#include <cstring>

#include "accessors.h"
#include "bench.h"
#include "console.h"
#include "peers.h"
#include "table.h"

namespace bench {
namespace {

constexpr char kBusName[] = "bench.Machine";

char TypeOf(const mwctl::Field &field) {
    switch (field.kind) {
        case mwctl::Kind::kText:
            return 's';
        case mwctl::Kind::kBytes:
        case mwctl::Kind::kEvent:
            return 'b';
        case mwctl::Kind::kFloat:
            return field.width == 8 ? 'd' : 'u';
        case mwctl::Kind::kSigned:
            return field.width <= 2 ? 'n' : field.width == 4 ? 'i' : 'x';
        default:
            return field.width == 1   ? 'y'
                   : field.width == 2 ? 'q'
                   : field.width == 4 ? 'u'
                   : field.width == 8 ? 't'
                                      : 'b';
    }
}

// The fields of a record one by one, nested ones included; those that nobody is shown are left out.
void AddFields(const mwctl::Layout &layout, mwctl::Chosen chosen, const char *bytes,
               const std::string &prefix, std::vector<Property> &to) {
    for (const mwctl::Field &field : layout.fields) {
        if (field.reserved) continue;
        if (chosen == mwctl::Chosen::kWithGetter && field.getter == nullptr) continue;
        if (chosen == mwctl::Chosen::kWithSlotGetter && field.slot_getter == nullptr) continue;
        for (uint32_t i = 0; i < std::max(field.count, 1u); ++i) {
            const char *at = bytes + field.offset + i * field.width;
            std::string name = prefix + std::string(field.name);
            if (field.count != 0) name += "." + std::to_string(i);
            if (field.kind == mwctl::Kind::kRecord) {
                AddFields(*field.layout, mwctl::Chosen::kAll, at, name + ".", to);
                continue;
            }
            const char type = TypeOf(field);
            const size_t size = type == 's' ? strnlen(at, field.width) : field.width;
            to.push_back({std::move(name), type, std::string(at, size)});
        }
    }
}

struct Read {
    const mwctl::Record *record;
    const mwctl::Module *module;
};

// What `mwctl show` reads of the shared area.
std::vector<Read> AllRecords() {
    std::vector<Read> reads;
    for (const mwctl::Module &module : mwctl::Modules()) {
        for (const mwctl::Record &record : module.records) {
            if (record.option.empty() && !record.no_area) reads.push_back({&record, &module});
        }
    }
    return reads;
}

// Into room of zeros, as readers of some records expect it.
bool ReadOne(const mwctl::Record &record, uint32_t &count) {
    std::memset(Buffer(), 0, size_t{std::max(record.capacity, 1u)} * record.layout->size);
    const mwctl::Listen listen(mwctl::Listen::Log::kQuiet);
    return record.read(Buffer(), count) >= 0;
}

std::vector<Object> AllObjects(const std::vector<Read> &reads) {
    std::vector<Object> objects;
    for (const Read &read : reads) {
        uint32_t count = 0;
        if (!ReadOne(*read.record, count)) continue;
        count = std::min(count, std::max(read.record->capacity, 1u));
        for (uint32_t i = 0; i < count; ++i) {
            Object object;
            object.path = "/" + std::string(read.module->name) + "/" + std::string(read.record->name) + "/" +
                          std::to_string(i);
            for (char &c : object.path) {
                if (c == '-') c = '_';
            }
            AddFields(*read.record->layout, read.record->chosen,
                      Buffer() + size_t{i} * read.record->layout->size, "", object.properties);
            objects.push_back(std::move(object));
        }
    }
    return objects;
}

// --- D-Bus ---------------------------------------------------------------------------------------

// Names are few; every reply is walked to its last value, as a client must that wants them.
uint64_t Walk(DBusMessageIter *at) {
    uint64_t values = 0;
    do {
        const int type = dbus_message_iter_get_arg_type(at);
        if (type == DBUS_TYPE_INVALID) break;
        if (type == DBUS_TYPE_ARRAY && dbus_message_iter_get_element_type(at) == DBUS_TYPE_BYTE) {
            ++values;
        } else if (type == DBUS_TYPE_ARRAY || type == DBUS_TYPE_VARIANT || type == DBUS_TYPE_DICT_ENTRY) {
            DBusMessageIter inside;
            dbus_message_iter_recurse(at, &inside);
            values += Walk(&inside);
        } else {
            DBusBasicValue value;
            dbus_message_iter_get_basic(at, &value);
            ++values;
        }
    } while (dbus_message_iter_next(at));
    return values;
}

uint64_t Call(DBusConnection *connection, const char *path, const char *interface, const char *method) {
    DBusMessage *call = dbus_message_new_method_call(kBusName, path, interface, method);
    const char *name = "bench.Record";
    if (std::strcmp(method, "GetAll") == 0)
        dbus_message_append_args(call, DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
    DBusMessage *reply = dbus_connection_send_with_reply_and_block(connection, call, 10000, nullptr);
    dbus_message_unref(call);
    if (reply == nullptr) throw Unable(std::string("no answer to ") + method);
    DBusMessageIter at;
    const uint64_t values = dbus_message_iter_init(reply, &at) ? Walk(&at) : 0;
    dbus_message_unref(reply);
    return values;
}

DBusConnection *ConnectToBus() {
    DBusConnection *connection = dbus_connection_open_private(BusAddress().c_str(), nullptr);
    if (connection == nullptr || !dbus_bus_register(connection, nullptr))
        throw Unable("no connection to the bus");
    dbus_connection_set_exit_on_disconnect(connection, false);
    return connection;
}

// --- Redis ---------------------------------------------------------------------------------------

std::string AsText(const Property &property) {
    if (property.type == 's' || property.type == 'b') return property.bytes;
    if (property.type == 'd') {
        double value;
        std::memcpy(&value, property.bytes.data(), sizeof value);
        return std::to_string(std::isfinite(value) ? value : 0);
    }
    uint64_t value = 0;
    std::memcpy(&value, property.bytes.data(), std::min(property.bytes.size(), sizeof value));
    return std::to_string(value);
}

redisContext *StoreInRedis(const std::vector<Object> &objects) {
    redisContext *context = redisConnectUnix(RedisSocket().c_str());
    if (context == nullptr || context->err != 0) throw Unable("no connection to its socket");
    for (const Object &object : objects) {
        std::vector<std::string> words = {"HSET", "machine:" + object.path};
        for (const Property &property : object.properties) {
            words.push_back(property.name);
            words.push_back(AsText(property));
        }
        if (words.size() == 2) continue;
        std::vector<const char *> argv;
        std::vector<size_t> sizes;
        for (const std::string &word : words) {
            argv.push_back(word.data());
            sizes.push_back(word.size());
        }
        auto *reply = static_cast<redisReply *>(
            redisCommandArgv(context, static_cast<int>(argv.size()), argv.data(), sizes.data()));
        if (reply == nullptr || reply->type == REDIS_REPLY_ERROR) throw Unable("HSET failed");
        freeReplyObject(reply);
    }
    return context;
}

void Receive(redisContext *context) {
    void *reply = nullptr;
    if (redisGetReply(context, &reply) != REDIS_OK || reply == nullptr) throw Unable("no answer to HGETALL");
    freeReplyObject(reply);
}

void Run() {
    FillArea();
    std::vector<Read> reads;
    uint32_t count = 0;
    for (const Read &read : AllRecords()) {
        if (ReadOne(*read.record, count)) reads.push_back(read);
    }
    const std::vector<Object> objects = AllObjects(reads);
    uint64_t fields = 0, bytes = 0;
    for (const Object &object : objects) {
        fields += object.properties.size();
        for (const Property &property : object.properties) bytes += property.bytes.size();
    }
    const std::string row =
        std::to_string(objects.size()) + " records, " + std::to_string(fields) + " fields";
    std::printf("%s, %llu bytes of values\n", row.c_str(), static_cast<unsigned long long>(bytes));

    Race race("refresh", row, static_cast<double>(fields));
    race.Enter(kLibrary, [&reads](uint64_t times) {
        for (uint64_t i = 0; i < times; ++i) {
            uint32_t n;
            for (const Read &read : reads) Check(ReadOne(*read.record, n), "a getter");
        }
    });
    static char copy[MW_AREA_SIZE];
    race.Enter("memcpy of the area", [](uint64_t times) {
        for (uint64_t i = 0; i < times; ++i) {
            std::memcpy(copy, g_ptMemCollectAddr, MW_AREA_SIZE);
            Clobber(copy);
        }
    });
    try {
        OfferObjects(kBusName, objects);
        static DBusConnection *const connection = ConnectToBus();
        race.Enter("D-Bus, GetAll each", [&objects](uint64_t times) {
            for (uint64_t i = 0; i < times; ++i) {
                for (const Object &object : objects)
                    Call(connection, object.path.c_str(), "org.freedesktop.DBus.Properties", "GetAll");
            }
        });
        race.Enter("D-Bus, all at once", [](uint64_t times) {
            for (uint64_t i = 0; i < times; ++i)
                Call(connection, "/", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects");
        });
        for (const char *peer : {"D-Bus, GetAll each", "D-Bus, all at once"})
            Want("refresh", row, peer, kLibrary, Is::kAtLeast, 1);
    } catch (const Unable &unable) {
        Missing("refresh over D-Bus", unable.what());
    }
    try {
        redisContext *const context = StoreInRedis(objects);
        race.Enter("Redis, HGETALL each", [context, &objects](uint64_t times) {
            for (uint64_t i = 0; i < times; ++i) {
                for (const Object &object : objects) {
                    redisAppendCommand(context, "HGETALL machine:%s", object.path.c_str());
                    Receive(context);
                }
            }
        });
        race.Enter("Redis, pipelined", [context, &objects](uint64_t times) {
            for (uint64_t i = 0; i < times; ++i) {
                for (const Object &object : objects)
                    redisAppendCommand(context, "HGETALL machine:%s", object.path.c_str());
                for (size_t k = 0; k < objects.size(); ++k) Receive(context);
            }
        });
        for (const char *peer : {"Redis, HGETALL each", "Redis, pipelined"})
            Want("refresh", row, peer, kLibrary, Is::kAtLeast, 1);
    } catch (const Unable &unable) {
        Missing("refresh from Redis", unable.what());
    }
    race.Run(Rounds(9), 0.002);
}

const Measurement kMeasurement("refresh",
                               "every field of every module of a full area, as a management service reads it",
                               Run);

}  // namespace
}  // namespace bench

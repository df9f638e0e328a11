// Peers that are asked over a socket. Their servers run under the benchmark's directory and end with it.
#include <dbus/dbus.h>
#include <hiredis/hiredis.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <map>

#include "bench.h"
#include "peers.h"

namespace bench {
namespace {

// --- Redis ---------------------------------------------------------------------------------------

class Redis : public Peer {
  public:
    Redis() : Peer("Redis", true) {}
    ~Redis() override { Close(); }

    void Start(const std::vector<size_t> &sizes) override {
        static int number = 0;
        prefix_ = "record:" + std::to_string(++number) + ":";
        sizes_ = sizes;
        Open();
        for (unsigned i = 0; i < sizes.size(); ++i) Set(i, std::string(sizes[i], '\0').data(), 1);
        Close();
    }
    void Open() override {
        Close();
        context_ = redisConnectUnix(RedisSocket().c_str());
        if (context_ == nullptr || context_->err != 0) throw Unable("no connection to its socket");
        const timeval patience{0, 500000};
        redisSetTimeout(context_, patience);
    }
    uint64_t Get(unsigned record, void *to, uint64_t times) override {
        const std::string key = prefix_ + std::to_string(record);
        const char *words[] = {"GET", key.c_str()};
        const size_t sizes[] = {3, key.size()};
        for (uint64_t i = 0; i < times; ++i) {
            auto *reply = static_cast<redisReply *>(redisCommandArgv(context_, 2, words, sizes));
            if (reply == nullptr || reply->type != REDIS_REPLY_STRING) throw Unable("no answer to GET");
            std::memcpy(to, reply->str, reply->len);
            freeReplyObject(reply);
        }
        return 0;
    }
    uint64_t Set(unsigned record, const void *from, uint64_t times) override {
        const std::string key = prefix_ + std::to_string(record);
        const char *words[] = {"SET", key.c_str(), static_cast<const char *>(from)};
        const size_t sizes[] = {3, key.size(), sizes_[record]};
        for (uint64_t i = 0; i < times; ++i) {
            auto *reply = static_cast<redisReply *>(redisCommandArgv(context_, 3, words, sizes));
            if (reply == nullptr || reply->type != REDIS_REPLY_STATUS) throw Unable("no answer to SET");
            freeReplyObject(reply);
        }
        return 0;
    }

  private:
    void Close() {
        if (context_ != nullptr) redisFree(context_);
        context_ = nullptr;
    }
    std::string prefix_;
    std::vector<size_t> sizes_;
    redisContext *context_ = nullptr;
};

// --- D-Bus ---------------------------------------------------------------------------------------

constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr char kInterface[] = "bench.Record";

DBusConnection *Connect() {
    DBusError error = DBUS_ERROR_INIT;
    DBusConnection *connection = dbus_connection_open_private(BusAddress().c_str(), &error);
    if (connection == nullptr || !dbus_bus_register(connection, &error))
        throw Unable("no connection to the bus");
    dbus_connection_set_exit_on_disconnect(connection, false);
    return connection;
}

void AppendValue(DBusMessageIter *to, const Property &property) {
    DBusMessageIter variant;
    if (property.type == 'b') {
        DBusMessageIter array;
        dbus_message_iter_open_container(to, DBUS_TYPE_VARIANT, "ay", &variant);
        dbus_message_iter_open_container(&variant, DBUS_TYPE_ARRAY, "y", &array);
        const char *bytes = property.bytes.data();
        dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_BYTE, &bytes,
                                             static_cast<int>(property.bytes.size()));
        dbus_message_iter_close_container(&variant, &array);
    } else {
        const char type[2] = {property.type, '\0'};
        dbus_message_iter_open_container(to, DBUS_TYPE_VARIANT, type, &variant);
        if (property.type == 's') {
            const char *text = property.bytes.c_str();
            dbus_message_iter_append_basic(&variant, DBUS_TYPE_STRING, &text);
        } else {
            alignas(8) char value[8] = {};
            std::memcpy(value, property.bytes.data(), std::min(property.bytes.size(), sizeof value));
            dbus_message_iter_append_basic(&variant, property.type, value);
        }
    }
    dbus_message_iter_close_container(to, &variant);
}

// a{sv}
void AppendProperties(DBusMessageIter *to, const Object &object) {
    DBusMessageIter array;
    dbus_message_iter_open_container(to, DBUS_TYPE_ARRAY, "{sv}", &array);
    for (const Property &property : object.properties) {
        DBusMessageIter entry;
        const char *name = property.name.c_str();
        dbus_message_iter_open_container(&array, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
        dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &name);
        AppendValue(&entry, property);
        dbus_message_iter_close_container(&array, &entry);
    }
    dbus_message_iter_close_container(to, &array);
}

// a{oa{sa{sv}}}
void AppendObjects(DBusMessageIter *to, const std::map<std::string, Object> &objects) {
    DBusMessageIter array;
    dbus_message_iter_open_container(to, DBUS_TYPE_ARRAY, "{oa{sa{sv}}}", &array);
    for (const auto &[path, object] : objects) {
        DBusMessageIter entry, interfaces, interface;
        const char *text = path.c_str(), *name = kInterface;
        dbus_message_iter_open_container(&array, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
        dbus_message_iter_append_basic(&entry, DBUS_TYPE_OBJECT_PATH, &text);
        dbus_message_iter_open_container(&entry, DBUS_TYPE_ARRAY, "{sa{sv}}", &interfaces);
        dbus_message_iter_open_container(&interfaces, DBUS_TYPE_DICT_ENTRY, nullptr, &interface);
        dbus_message_iter_append_basic(&interface, DBUS_TYPE_STRING, &name);
        AppendProperties(&interface, object);
        dbus_message_iter_close_container(&interfaces, &interface);
        dbus_message_iter_close_container(&entry, &interfaces);
        dbus_message_iter_close_container(&array, &entry);
    }
    dbus_message_iter_close_container(to, &array);
}

// The reply to a call; an error for one that asks for what there is not.
DBusMessage *Answer(DBusMessage *call, std::map<std::string, Object> &objects) {
    DBusMessage *reply = dbus_message_new_method_return(call);
    DBusMessageIter out, in;
    dbus_message_iter_init_append(reply, &out);
    const std::string method = dbus_message_get_member(call);
    if (method == "GetManagedObjects") {
        AppendObjects(&out, objects);
        return reply;
    }
    const auto object = objects.find(dbus_message_get_path(call));
    if (object != objects.end() && method == "GetAll") {
        AppendProperties(&out, object->second);
        return reply;
    }
    const char *name = "";
    if (object != objects.end() && dbus_message_iter_init(call, &in) && dbus_message_iter_next(&in))
        dbus_message_iter_get_basic(&in, &name);
    for (Property &property :
         object == objects.end() ? objects.begin()->second.properties : object->second.properties) {
        if (property.name != name) continue;
        if (method == "Get") {
            AppendValue(&out, property);
            return reply;
        }
        DBusMessageIter variant, array;
        if (method == "Set" && dbus_message_iter_next(&in)) {
            dbus_message_iter_recurse(&in, &variant);
            dbus_message_iter_recurse(&variant, &array);
            const char *bytes = nullptr;
            int size = 0;
            dbus_message_iter_get_fixed_array(&array, &bytes, &size);
            property.bytes.assign(bytes, static_cast<size_t>(size));
            return reply;
        }
    }
    dbus_message_unref(reply);
    return dbus_message_new_error(call, DBUS_ERROR_UNKNOWN_METHOD, "there is no such property");
}

int Serve(const std::string &bus_name, std::map<std::string, Object> objects, int ready) {
    DBusConnection *connection = Connect();
    if (dbus_bus_request_name(connection, bus_name.c_str(), 0, nullptr) !=
        DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER)
        return 1;
    Check(write(ready, "r", 1) == 1, "write");
    while (dbus_connection_read_write(connection, -1)) {
        while (DBusMessage *call = dbus_connection_pop_message(connection)) {
            if (dbus_message_get_type(call) == DBUS_MESSAGE_TYPE_METHOD_CALL) {
                DBusMessage *reply = Answer(call, objects);
                dbus_connection_send(connection, reply, nullptr);
                dbus_message_unref(reply);
            }
            dbus_message_unref(call);
        }
        dbus_connection_flush(connection);
    }
    return 0;
}

class Dbus : public Peer {
  public:
    Dbus() : Peer("D-Bus property", true) {}
    ~Dbus() override { Close(); }

    void Start(const std::vector<size_t> &sizes) override {
        static int number = 0;
        bus_name_ = "bench.Records" + std::to_string(++number);
        sizes_ = sizes;
        std::vector<Object> objects;
        for (unsigned i = 0; i < sizes.size(); ++i)
            objects.push_back({PathOf(i), {{"Value", 'b', std::string(sizes[i], '\0')}}});
        OfferObjects(bus_name_, std::move(objects));
    }
    void Open() override {
        Close();
        connection_ = Connect();
    }
    uint64_t Get(unsigned record, void *to, uint64_t times) override {
        uint64_t late = 0;
        for (uint64_t i = 0; i < times; ++i) {
            DBusMessage *reply = Ask(record, "Get", nullptr, late);
            if (reply == nullptr) continue;
            DBusMessageIter iterator, variant, array;
            dbus_message_iter_init(reply, &iterator);
            dbus_message_iter_recurse(&iterator, &variant);
            dbus_message_iter_recurse(&variant, &array);
            const char *bytes = nullptr;
            int size = 0;
            dbus_message_iter_get_fixed_array(&array, &bytes, &size);
            std::memcpy(to, bytes, static_cast<size_t>(size));
            dbus_message_unref(reply);
        }
        return late;
    }
    uint64_t Set(unsigned record, const void *from, uint64_t times) override {
        uint64_t late = 0;
        for (uint64_t i = 0; i < times; ++i) {
            DBusMessage *reply = Ask(record, "Set", from, late);
            if (reply != nullptr) dbus_message_unref(reply);
        }
        return late;
    }

  private:
    static std::string PathOf(unsigned record) { return "/record/" + std::to_string(record); }

    DBusMessage *Ask(unsigned record, const char *method, const void *value, uint64_t &late) {
        DBusMessage *call =
            dbus_message_new_method_call(bus_name_.c_str(), PathOf(record).c_str(), kProperties, method);
        DBusMessageIter arguments;
        dbus_message_iter_init_append(call, &arguments);
        const char *interface = kInterface, *property = "Value";
        dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &interface);
        dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &property);
        if (value != nullptr)
            AppendValue(&arguments, {"", 'b', std::string(static_cast<const char *>(value), sizes_[record])});
        DBusError error = DBUS_ERROR_INIT;
        DBusMessage *reply = dbus_connection_send_with_reply_and_block(connection_, call, 500, &error);
        dbus_message_unref(call);
        if (reply == nullptr) {
            if (!dbus_error_has_name(&error, DBUS_ERROR_NO_REPLY)) throw Unable(error.message);
            dbus_error_free(&error);
            ++late;
        }
        return reply;
    }
    void Close() {
        if (connection_ != nullptr) {
            dbus_connection_close(connection_);
            dbus_connection_unref(connection_);
        }
        connection_ = nullptr;
    }
    std::string bus_name_;
    std::vector<size_t> sizes_;
    DBusConnection *connection_ = nullptr;
};

}  // namespace

const std::string &RedisSocket() {
    static const std::string path = [] {
        const std::string socket = Directory() + "/redis.sock";
        // The server and the checking tool are one program that looks at the name it is called by.
        const std::vector<std::string> arguments = {
            "redis-server", "--port", "0", "--unixsocket", socket,     "--appendonly",
            "no",           "--save", "",  "--dir",        Directory()};
        AwaitSocket(socket, StartServer("redis", arguments, "redis-check-rdb"));
        return socket;
    }();
    return path;
}

const std::string &BusAddress() {
    static const std::string address = [] {
        const std::string socket = Directory() + "/bus", config = Directory() + "/bus.conf";
        std::ofstream(config)
            << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\""
               " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
               "<busconfig><type>session</type><listen>unix:path="
            << socket
            << "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow send_destination=\"*\"/>"
               "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>\n";
        AwaitSocket(socket,
                    StartServer("bus", {"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + config},
                                "dbus-daemon"));
        return "unix:path=" + socket;
    }();
    return address;
}

void OfferObjects(const std::string &bus_name, std::vector<Object> objects) {
    BusAddress();
    std::map<std::string, Object> by_path;
    for (Object &object : objects) {
        std::string path = object.path;
        by_path.emplace(std::move(path), std::move(object));
    }
    int ready[2];
    Check(pipe(ready) == 0, "pipe");
    Fork([&] {
        close(ready[0]);
        try {
            return Serve(bus_name, std::move(by_path), ready[1]);
        } catch (const Unable &) {
            return 1;
        }
    });
    close(ready[1]);
    char byte;
    const bool serves = read(ready[0], &byte, 1) == 1;
    close(ready[0]);
    if (!serves) throw Unable("the service that offers the properties ended");
}

std::unique_ptr<Peer> MakeRedis() { return std::make_unique<Redis>(); }
std::unique_ptr<Peer> MakeDbus() { return std::make_unique<Dbus>(); }

}  // namespace bench

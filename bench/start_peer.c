/* A process that reads one word from a peer: PROGRAM ADDRESS [create]. Built once for each peer. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#if defined PEER_LMDB
#include <lmdb.h>

static int ReadWord(const char *address, int create) {
    MDB_env *environment;
    MDB_txn *transaction;
    MDB_dbi database;
    uint32_t number = 0, word = 0;
    MDB_val key = {sizeof number, &number}, value = {sizeof word, &word};
    if (create) mkdir(address, 0700);
    if (mdb_env_create(&environment) != 0 || mdb_env_open(environment, address, MDB_WRITEMAP | MDB_NOSYNC, 0600) != 0 ||
        mdb_txn_begin(environment, NULL, create ? 0 : MDB_RDONLY, &transaction) != 0 ||
        mdb_dbi_open(transaction, NULL, MDB_INTEGERKEY, &database) != 0)
        return 1;
    if (create) return mdb_put(transaction, database, &key, &value, 0) != 0 || mdb_txn_commit(transaction) != 0;
    if (mdb_get(transaction, database, &key, &value) != 0) return 1;
    memcpy(&word, value.mv_data, sizeof word);
    return (int)word;
}

#elif defined PEER_SQLITE
#include <sqlite3.h>

static int ReadWord(const char *address, int create) {
    sqlite3 *database;
    sqlite3_stmt *statement;
    if (sqlite3_open(address, &database) != SQLITE_OK) return 1;
    if (create)
        return sqlite3_exec(database, "PRAGMA journal_mode = WAL; CREATE TABLE words (id INTEGER PRIMARY KEY, value);"
                                      "INSERT INTO words VALUES (0, 0)", NULL, NULL, NULL);
    if (sqlite3_prepare_v2(database, "SELECT value FROM words WHERE id = 0", -1, &statement, NULL) != SQLITE_OK ||
        sqlite3_step(statement) != SQLITE_ROW)
        return 1;
    return sqlite3_column_int(statement, 0);
}

#elif defined PEER_REDIS
#include <hiredis/hiredis.h>

static int ReadWord(const char *address, int create) {
    redisContext *context = redisConnectUnix(address);
    redisReply *reply;
    if (context == NULL || context->err != 0) return 1;
    reply = redisCommand(context, create ? "SET start:word 0" : "GET start:word");
    return reply == NULL || reply->type == REDIS_REPLY_ERROR || reply->type == REDIS_REPLY_NIL;
}

#elif defined PEER_DBUS
#include <dbus/dbus.h>

static int ReadWord(const char *address, int create) {
    DBusConnection *connection = dbus_connection_open_private(address, NULL);
    DBusMessage *call, *reply;
    const char *interface = "bench.Record", *name = "Value";
    (void)create;
    if (connection == NULL || !dbus_bus_register(connection, NULL)) return 1;
    call = dbus_message_new_method_call("bench.Start", "/record", "org.freedesktop.DBus.Properties", "Get");
    dbus_message_append_args(call, DBUS_TYPE_STRING, &interface, DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
    reply = dbus_connection_send_with_reply_and_block(connection, call, 1000, NULL);
    return reply == NULL;
}
#endif

int main(int argc, char **argv) {
    if (argc < 2) return 2;
    return ReadWord(argv[1], argc > 2);
}

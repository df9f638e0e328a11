// Embedded stores. Their files lie in the memory file system and they are told not to sync: what is compared
// is the exchange between processes, not a disk.
#include <lmdb.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <cstring>

#include "bench.h"
#include "peers.h"

namespace bench {
namespace {

class Lmdb : public Peer {
  public:
    Lmdb() : Peer("LMDB", true) {}
    ~Lmdb() override { Close(); }

    void Start(const std::vector<size_t> &sizes) override {
        static int number = 0;
        path_ = Directory() + "/lmdb-" + std::to_string(++number);
        mkdir(path_.c_str(), 0700);
        sizes_ = sizes;
        Open();
        for (unsigned i = 0; i < sizes.size(); ++i) Set(i, std::string(sizes[i], '\0').data(), 1);
        Close();
    }
    void Open() override {
        Close();
        Must(mdb_env_create(&environment_));
        Must(mdb_env_set_mapsize(environment_, size_t{64} << 20));
        Must(mdb_env_open(environment_, path_.c_str(), MDB_WRITEMAP | MDB_NOSYNC | MDB_NOMETASYNC, 0600));
        MDB_txn *transaction;
        Must(mdb_txn_begin(environment_, nullptr, 0, &transaction));
        Must(mdb_dbi_open(transaction, nullptr, MDB_INTEGERKEY | MDB_CREATE, &database_));
        Must(mdb_txn_commit(transaction));
        Must(mdb_txn_begin(environment_, nullptr, MDB_RDONLY, &reader_));
        mdb_txn_reset(reader_);
    }
    uint64_t Get(unsigned record, void *to, uint64_t times) override {
        for (uint64_t i = 0; i < times; ++i) {
            Must(mdb_txn_renew(reader_));
            MDB_val key{sizeof record, &record}, value;
            Must(mdb_get(reader_, database_, &key, &value));
            std::memcpy(to, value.mv_data, value.mv_size);
            mdb_txn_reset(reader_);
            Clobber();
        }
        return 0;
    }
    uint64_t Set(unsigned record, const void *from, uint64_t times) override {
        for (uint64_t i = 0; i < times; ++i) {
            MDB_txn *transaction;
            Must(mdb_txn_begin(environment_, nullptr, 0, &transaction));
            MDB_val key{sizeof record, &record}, value{sizes_[record], const_cast<void *>(from)};
            Must(mdb_put(transaction, database_, &key, &value, 0));
            Must(mdb_txn_commit(transaction));
        }
        return 0;
    }

  private:
    static void Must(int result) {
        if (result != 0) throw Unable(mdb_strerror(result));
    }
    void Close() {
        if (reader_ != nullptr) mdb_txn_abort(reader_);
        if (environment_ != nullptr) mdb_env_close(environment_);
        reader_ = nullptr;
        environment_ = nullptr;
    }
    std::string path_;
    std::vector<size_t> sizes_;
    MDB_env *environment_ = nullptr;
    MDB_txn *reader_ = nullptr;
    MDB_dbi database_ = 0;
};

class Sqlite : public Peer {
  public:
    Sqlite() : Peer("SQLite", true) {}
    ~Sqlite() override { Close(); }

    void Start(const std::vector<size_t> &sizes) override {
        static int number = 0;
        path_ = Directory() + "/sqlite-" + std::to_string(++number);
        sizes_ = sizes;
        Connect();
        Run("CREATE TABLE records (id INTEGER PRIMARY KEY, value BLOB)");
        for (unsigned i = 0; i < sizes.size(); ++i) {
            const std::string id = std::to_string(i), size = std::to_string(sizes[i]);
            Run(("INSERT INTO records VALUES (" + id + ", zeroblob(" + size + "))").c_str());
        }
        Close();
    }
    void Open() override {
        Close();
        Connect();
        Must(sqlite3_prepare_v2(database_, "SELECT value FROM records WHERE id = ?", -1, &get_, nullptr));
        Must(sqlite3_prepare_v2(database_, "UPDATE records SET value = ? WHERE id = ?", -1, &set_, nullptr));
    }
    uint64_t Get(unsigned record, void *to, uint64_t times) override {
        uint64_t late = 0;
        for (uint64_t i = 0; i < times; ++i) {
            sqlite3_bind_int(get_, 1, static_cast<int>(record));
            const int result = sqlite3_step(get_);
            if (result == SQLITE_BUSY) {
                ++late;
            } else {
                if (result != SQLITE_ROW) throw Unable(sqlite3_errmsg(database_));
                std::memcpy(to, sqlite3_column_blob(get_, 0),
                            static_cast<size_t>(sqlite3_column_bytes(get_, 0)));
            }
            sqlite3_reset(get_);
            Clobber();
        }
        return late;
    }
    uint64_t Set(unsigned record, const void *from, uint64_t times) override {
        uint64_t late = 0;
        for (uint64_t i = 0; i < times; ++i) {
            sqlite3_bind_blob(set_, 1, from, static_cast<int>(sizes_[record]), SQLITE_STATIC);
            sqlite3_bind_int(set_, 2, static_cast<int>(record));
            const int result = sqlite3_step(set_);
            if (result == SQLITE_BUSY) {
                ++late;
            } else if (result != SQLITE_DONE) {
                throw Unable(sqlite3_errmsg(database_));
            }
            sqlite3_reset(set_);
        }
        return late;
    }

  private:
    void Must(int result) {
        if (result != SQLITE_OK) throw Unable(sqlite3_errmsg(database_));
    }
    void Run(const char *statement) { Must(sqlite3_exec(database_, statement, nullptr, nullptr, nullptr)); }
    void Connect() {
        Must(sqlite3_open(path_.c_str(), &database_));
        sqlite3_busy_timeout(database_, 500);
        Run("PRAGMA journal_mode = WAL");
        Run("PRAGMA synchronous = OFF");
        Run("PRAGMA mmap_size = 67108864");
    }
    void Close() {
        sqlite3_finalize(get_);
        sqlite3_finalize(set_);
        sqlite3_close(database_);
        get_ = set_ = nullptr;
        database_ = nullptr;
    }
    std::string path_;
    std::vector<size_t> sizes_;
    sqlite3 *database_ = nullptr;
    sqlite3_stmt *get_ = nullptr, *set_ = nullptr;
};

}  // namespace

std::unique_ptr<Peer> MakeLmdb() { return std::make_unique<Lmdb>(); }
std::unique_ptr<Peer> MakeSqlite() { return std::make_unique<Sqlite>(); }

}  // namespace bench

// Custom slot numbers and labels of PCH disks: an INI file with up to two keys a disk.
#include <algorithm>
#include <cstring>

#include "hov_slibc.h"
#include "iniparser.h"
#include "oal.h"
#include "pch/hov_midpch.h"

using namespace midware;

namespace {

constexpr char kPath[] = "/conf/ext/custom_pchdisk_config.ini";
constexpr char kSection[] = "Pchdisk custom config";
constexpr uint32_t kNoSlot = MW_HD_NO_SLOT;

// The settings file, loaded, under its cross-process lock. Closing it is up to the function.
class SettingsFile {
 public:
    explicit SettingsFile(Caller at) : locked_(hov_CustomPchDiskSemLock() >= 0) {
        if (!locked_) return;
        ini_ = HOV_IniLoadFile(kPath);
        if (ini_ != nullptr) return;
        OAL_Log2File(kSlotJournal, kSlotJournalFlag, "[Line:%d Func:%s]%s create failed, line=%d\n", at.line,
                     at.function, kPath, at.line);
    }
    ~SettingsFile() {
        if (locked_) hov_CustomPchDiskSemUnLock();
    }
    SettingsFile(const SettingsFile &) = delete;
    SettingsFile &operator=(const SettingsFile &) = delete;

    explicit operator bool() const { return ini_ != nullptr; }
    void *ini() const { return ini_; }

 private:
    bool locked_;
    void *ini_ = nullptr;
};

// The key of one setting of one disk. The longest one has 61 characters.
struct Key {
    char text[64] = {};

    Key(const PchDiskCustomCfg &disk, const char *setting) {
        hov_snprintf_s(text, sizeof text, "CPU%d_BDF %04x:%02x:%02x.%01x_port%d_%s", disk.ucCpuId, 0u, disk.dwBus,
                       disk.dwDev, disk.dwFunc, disk.ucPort, setting);
    }
};

// Removes a setting that is there.
void Remove(void *ini, const Key &key, Caller at) {
    IniDelEntry(ini, kSection, key.text);
    OAL_Log2File(kSlotJournal, kSlotJournalFlag, "[Line:%d Func:%s]del custom slot config %s  successfully\n", at.line,
                 at.function, key.text);
}

Key SlotKey(const PchDiskCustomCfg &disk) { return {disk, "diskslot"}; }
Key SilkKey(const PchDiskCustomCfg &disk) { return {disk, "customsilk"}; }

// --- a label as a format -------------------------------------------------------------------------------------------

// A stored label is a format that nobody passes arguments for: every argument is zero. Its conversions are taken apart
// and formatted one by one, each with a zero of its own type, so that none reads what is not there.
constexpr int kWidest = 512;  // greater widths and precisions count as this one: a label has 32 characters

struct Conversion {
    const char *end = nullptr;  // behind it
    char specifier = 0;   // 0 when it is none
    char flags[6] = {};
    int width = 0;
    int precision = -1;   // none
};

bool ReadNumber(const char *&at, int &number) {
    const char *first = at;
    for (number = 0; *at >= '0' && *at <= '9'; ++at) number = std::min(number * 10 + (*at - '0'), kWidest);
    return at != first;
}

// "1$": which argument it is makes no difference.
void SkipPosition(const char *&at) {
    const char *next = at;
    int position;
    if (ReadNumber(next, position) && *next == '$') at = next + 1;
}

// "*" or "*1$": a width or precision of zero.
bool SkipStar(const char *&at) {
    if (*at != '*') return false;
    ++at;
    SkipPosition(at);
    return true;
}

bool IsOneOf(char c, const char *set) {
    while (*set != '\0' && *set != c) ++set;
    return *set != '\0';
}

// Reads the conversion that begins behind a percent sign.
Conversion ReadConversion(const char *at) {
    Conversion conversion;
    SkipPosition(at);
    for (char *flag = conversion.flags; IsOneOf(*at, "-+ #0'"); ++at) {
        if (*at != '\'' && !IsOneOf(*at, conversion.flags)) *flag++ = *at;
    }
    if (!SkipStar(at)) ReadNumber(at, conversion.width);
    if (*at == '.') {
        ++at;
        if (SkipStar(at)) {
            conversion.precision = 0;
        } else {
            ReadNumber(at, conversion.precision);
        }
    }
    while (IsOneOf(*at, "hljztL")) ++at;  // zero is zero in every length
    if (IsOneOf(*at, "diouxXfFeEgGaAcCsSpn%")) {
        conversion.specifier = *at;
        conversion.end = at + 1;
    }
    return conversion;
}

class LabelWriter {
 public:
    explicit LabelWriter(char (&to)[MW_PCH_SILK_SIZE]) : to_(to) {}

    void Text(const char *text, size_t length) {
        Wrote(hov_snprintf_s(Rest(), Room(), "%.*s", static_cast<int>(std::min<size_t>(length, Room())), text));
    }

    void Zero(const Conversion &zero) {
        switch (zero.specifier) {
            case 'd':
            case 'i':
            case 'u': Format(zero, "-+ 0", "*.*", zero.specifier, zero.precision, 0); break;
            case 'o':
            case 'x':
            case 'X': Format(zero, "-+ #0", "*.*", zero.specifier, zero.precision, 0); break;
            case 'c':
            case 'C': Format(zero, "-", "*", 'c', 0); break;
            case 's':
            case 'S': Format(zero, "-", "*.*", 's', zero.precision, "(null)"); break;
            case 'p': Format(zero, "-", "*", 'p', static_cast<const void *>(nullptr)); break;
            default: Format(zero, "-+ #0", "*.*", zero.specifier, zero.precision, 0.0); break;
        }
    }

 private:
    char *Rest() { return to_ + length_; }
    size_t Room() const { return sizeof to_ - length_; }

    void Wrote(int uncut) {
        if (uncut > 0) length_ += std::min(static_cast<size_t>(uncut), Room() - 1);
    }

    // Formats one conversion with those of its flags that its specifier knows.
    template <class... Args>
    void Format(const Conversion &zero, const char *known_flags, const char *stars, char specifier, Args... args) {
        char format[12] = "%";
        char *at = format + 1;
        for (const char *flag = zero.flags; *flag != '\0'; ++flag) {
            if (IsOneOf(*flag, known_flags)) *at++ = *flag;
        }
        while (*stars != '\0') *at++ = *stars++;
        *at = specifier;
        Wrote(hov_snprintf_s(Rest(), Room(), format, zero.width, args...));
    }

    char (&to_)[MW_PCH_SILK_SIZE];
    size_t length_ = 0;
};

// Formats a stored label, cut to fit. One that asks for a count to be written somewhere (%n) is refused: empty.
void FormatLabel(char (&to)[MW_PCH_SILK_SIZE], const char *label) {
    LabelWriter writer(to);
    while (*label != '\0') {
        const char *percent = label;
        while (*percent != '\0' && *percent != '%') ++percent;
        writer.Text(label, static_cast<size_t>(percent - label));
        if (*percent == '\0') return;
        const Conversion conversion = ReadConversion(percent + 1);
        switch (conversion.specifier) {
            case 'n': hov_memset_s(to, sizeof to, 0, sizeof to); return;
            case '\0':  // no conversion: the percent sign stands for itself
            case '%': writer.Text("%", 1); break;
            default: writer.Zero(conversion); break;
        }
        label = conversion.specifier == '\0' ? percent + 1 : conversion.end;
    }
}

}  // namespace

int32_t MW_SaveCustomPchDiskConfig(PchDiskCustomCfg tCfg, const uint8_t *pucOpt) {
    SettingsFile file(Here());
    if (!file) return kFail;
    const bool write = pucOpt[5] == MW_PCH_OPT_WRITE;

    // A removal of what is not there ends at once: nothing is saved, and the loaded file stays open.
    if (tCfg.ucCfgType == MW_PCH_CFG_SLOT) {
        const Key key = SlotKey(tCfg);
        if (write) {
            IniSetUInt(file.ini(), kSection, key.text, tCfg.ucSlot);
            OAL_Log2File(kSlotJournal, kSlotJournalFlag, "[Line:%d Func:%s]set %s=%d successfully\n", __LINE__,
                         __func__, key.text, tCfg.ucSlot);
        } else if (IniGetUInt(file.ini(), kSection, key.text, kNoSlot) == kNoSlot) {
            OAL_Log2File(kSlotJournal, kSlotJournalFlag, "[Line:%d Func:%s]pch DISK have no custom slot config!\n",
                         __LINE__, __func__);
            return kFail;
        } else {
            Remove(file.ini(), key, Here());
        }
    } else if (tCfg.ucCfgType == MW_PCH_CFG_SILK) {
        const Key key = SilkKey(tCfg);
        if (write) {
            char silk[sizeof tCfg.acSilkInfo + 1];
            strncpy_s(silk, sizeof silk, tCfg.acSilkInfo, sizeof tCfg.acSilkInfo);
            IniSetStr(file.ini(), kSection, key.text, silk);
            OAL_Log2File(kSlotJournal, kSlotJournalFlag, "[Line:%d Func:%s]set %s=%s successfully\n", __LINE__,
                         __func__, key.text, silk);
        } else if (strstr(IniGetStr(file.ini(), kSection, key.text, kNoSilk), kNoSilk) != nullptr) {
            OAL_Log2File(kSlotJournal, kSlotJournalFlag, "[Line:%d Func:%s]pch DISK have no custom silk config!\n",
                         __LINE__, __func__);
            return kFail;
        } else {
            Remove(file.ini(), key, Here());
        }
    }
    IniSaveFile(file.ini(), kPath);
    IniCloseFile(file.ini());
    return kOk;
}

int32_t MW_LoadCustomPchDiskConfig(PchDiskCustomCfg *ptCfg, uint32_t dwType) {
    if (ptCfg == nullptr) return kFail;
    SettingsFile file(Here());
    if (!file) return kFail;
    if (dwType == MW_PCH_CFG_SLOT) {
        ptCfg->ucSlot = static_cast<uint8_t>(IniGetUInt(file.ini(), kSection, SlotKey(*ptCfg).text, kNoSlot));
        OAL_Log2File(kSlotJournal, kSlotJournalFlag, "[Line:%d Func:%s]get custom config:custom pchdisk slot:%d\n",
                     __LINE__, __func__, ptCfg->ucSlot);
    } else if (dwType == MW_PCH_CFG_SILK) {
        constexpr size_t kCapacity = sizeof ptCfg->acSilkInfo;
        hov_memset_s(ptCfg->acSilkInfo, kCapacity, 0, kCapacity - 1);
        FormatLabel(ptCfg->acSilkInfo, IniGetStr(file.ini(), kSection, SilkKey(*ptCfg).text, kNoSilk));
        OAL_Log2File(kSlotJournal, kSlotJournalFlag, "[Line:%d Func:%s]get custom config:custom pchdisk Silk:%s\n",
                     __LINE__, __func__, ptCfg->acSilkInfo);
    }
    IniCloseFile(file.ini());
    return kOk;
}

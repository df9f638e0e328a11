// Makers of ATA disks by their model texts.
#include <algorithm>
#include <set>

#include "accessor_test.h"
#include "pch/hov_midpch_vendor.h"

namespace {

struct Row {
    const char *prefix;
    const char *vendor;
};

// The table as it must be, in its order.
constexpr Row kRows[] = {
    {"SEAGATE", "Seagate"},   {"Seagate", "Seagate"},   {"TOSHIBA", "Toshiba"},   {"Toshiba", "Toshiba"},
    {"INTEL", "Intel"},       {"Intel", "Intel"},       {"SAMSUNG", "Samsung"},   {"SamSung", "Samsung"},
    {"MEMBLAZE", "Memblaze"}, {"HITACHI", "HITACHI"},   {"MemBlaze", "Memblaze"}, {"memblaze", "Memblaze"},
    {"MICRON", "Micron"},     {"Micron", "Micron"},     {"WESTDIGI", "WD"},       {"WestDigi", "WD"},
    {"HGST", "HGST"},         {"DERA", "DERA"},         {"DAPUSTOR", "DapuStor"}, {"KIOXIA", "KIOXIA"},
    {"GOKE", "GOKE"},         {"MAXIO", "MAXIO"},       {"YMTC", "YMTC"},         {"SAGE", "SAGE"},
    {"seagate", "Seagate"},   {"toshiba", "Toshiba"},   {"hgst", "HGST"},         {"Hgst", "HGST"},
    {"intel", "Intel"},       {"Samsung", "Samsung"},   {"samsung", "Samsung"},   {"Memblaze", "Memblaze"},
    {"micron", "Micron"},     {"dera", "DERA"},         {"Dera", "DERA"},         {"dapustor", "DapuStor"},
    {"Dapustor", "DapuStor"}, {"kioxia", "KIOXIA"},     {"KioXia", "KIOXIA"},     {"Kioxia", "KIOXIA"},
    {"goke", "GOKE"},         {"Goke", "GOKE"},         {"maxio", "MAXIO"},       {"ymtc", "YMTC"},
    {"sage", "SAGE"},         {"SSSTC", "SSSTC"},       {"westdigi", "WD"},
};
static_assert(std::size(kRows) == 47);

// What a vendor of "ATA" becomes with a model.
std::string VendorOf(const std::string &model, const std::string &vendor = "ATA") {
    char text[33];
    memset(text, 'x', sizeof text);
    memcpy(text, vendor.c_str(), vendor.size() + 1);
    EXPECT_EQ(PCH_ParseATAVendorAndModel(text, model.c_str()), 0) << model;
    EXPECT_EQ(text[32], 'x') << model;
    return text;
}

TEST(AtaVendor, TheTableHasTheseRowsInThisOrder) {
    ASSERT_EQ(std::size(midware::g_atAtaVendorTable), std::size(kRows));
    ASSERT_EQ(sizeof(midware::AtaVendor), 64u);
    for (size_t i = 0; i < std::size(kRows); ++i) {
        midware::AtaVendor expected{};  // padded with NULs
        memcpy(expected.acModelPrefix, kRows[i].prefix, strlen(kRows[i].prefix));
        memcpy(expected.acVendor, kRows[i].vendor, strlen(kRows[i].vendor));
        EXPECT_EQ(memcmp(&midware::g_atAtaVendorTable[i], &expected, sizeof expected), 0) << "row " << i + 1;
    }
}

TEST(AtaVendor, NoPrefixIsAPrefixOfAnotherSoThatOneRowAtMostMatches) {
    for (const Row &row : kRows) {
        int matching = 0;
        for (const Row &other : kRows) {
            const auto length = static_cast<uint32_t>(strlen(other.prefix));
            matching += findPchFirstSonStrInString(row.prefix, other.prefix, length);
        }
        EXPECT_EQ(matching, 1) << row.prefix;
    }
}

TEST(AtaVendor, EveryRowNamesTheMakerOfModelsThatBeginWithItsPrefix) {
    for (const Row &row : kRows) {
        const std::string prefix = row.prefix;
        EXPECT_EQ(VendorOf(prefix), row.vendor);
        EXPECT_EQ(VendorOf(prefix + " X100"), row.vendor);
        EXPECT_EQ(VendorOf(prefix + "_X100"), row.vendor);
        EXPECT_EQ(VendorOf(prefix + std::string(31 - prefix.size(), 'M')), row.vendor);
        EXPECT_EQ(VendorOf(prefix.substr(0, prefix.size() - 1)), "ATA");
        EXPECT_EQ(VendorOf(" " + prefix), "ATA");
        EXPECT_EQ(VendorOf("X" + prefix), "ATA");
        EXPECT_EQ(VendorOf(prefix.substr(0, prefix.size() - 1) + "*"), "ATA");
    }
}

TEST(AtaVendor, SpellingsThatAreNotInTheTableNameNoMaker) {
    for (const char *model : {"SeaGate", "toSHIBA", "iNTEL", "SamSUNG", "MEMblaze", "Hitachi", "hitachi", "MicroN",
                              "WestDIGI", "Westdigi", "HGst", "DeRa", "DapuStor", "KIOxia", "GoKe", "Maxio", "Ymtc",
                              "Sage", "ssstc", "Ssstc"}) {
        EXPECT_EQ(VendorOf(model), "ATA") << model;
    }
}

TEST(AtaVendor, AModelOf32CharactersOrMoreNamesNoMaker) {
    const std::string model = "TOSHIBA " + std::string(60, 'M');
    EXPECT_EQ(VendorOf(model.substr(0, 31)), "Toshiba");
    EXPECT_EQ(VendorOf(model.substr(0, 32)), "ATA");
    EXPECT_EQ(VendorOf(model.substr(0, 33)), "ATA");
    EXPECT_EQ(VendorOf(model), "ATA");
}

TEST(AtaVendor, OnlyTheExactVendorAtaIsReplaced) {
    for (const char *vendor : {"", "A", "AT", "ATA ", "ATAPI", " ATA", "ata", "Ata", "SEAGATE", "Seagate", "SCSI",
                               "1234567890123456789012345678901"}) {
        EXPECT_EQ(VendorOf("TOSHIBA MG04ACA400N", vendor), vendor);
    }
    EXPECT_EQ(VendorOf("TOSHIBA MG04ACA400N"), "Toshiba");
    EXPECT_EQ(VendorOf(""), "ATA");
}

TEST(AtaVendor, AVendorThatFillsItsFieldBecomesEmpty) {
    char text[33];
    memset(text, 'A', sizeof text);
    EXPECT_EQ(PCH_ParseATAVendorAndModel(text, "TOSHIBA"), 0);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(std::string(text + 1, 32), std::string(32, 'A'));
}

TEST(AtaVendor, TheModelIsOnlyReadUpToItsField) {
    // Neither terminated nor followed by anything that may be read.
    const std::vector<char> model(32, 'T');
    char text[32] = "ATA";
    EXPECT_EQ(PCH_ParseATAVendorAndModel(text, model.data()), 0);
    EXPECT_STREQ(text, "ATA");
}

TEST(AtaVendor, NothingGivenIsRefused) {
    char text[32] = "ATA";
    EXPECT_EQ(PCH_ParseATAVendorAndModel(nullptr, "TOSHIBA"), -1);
    EXPECT_EQ(PCH_ParseATAVendorAndModel(text, nullptr), -1);
    EXPECT_STREQ(text, "ATA");
    EXPECT_EQ(findPchFirstSonStrInString(nullptr, "A", 1), -1);
    EXPECT_EQ(findPchFirstSonStrInString("A", nullptr, 1), -1);
}

TEST(AtaVendor, ATextBeginsWithAsMuchOfThePrefixAsTheLengthSays) {
    const std::string long_text(70, 'L');
    const struct {
        std::string text, prefix;
        uint32_t length;
        int32_t result;
    } rows[] = {
        {"HGST HUS726060ALE610", "HGST", 4, 1},
        {"HGST", "HGST", 4, 1},
        {"HGS", "HGST", 4, 0},
        {"HGS", "HGST", 3, 1},
        {"HGSX", "HGST", 3, 1},
        {"HGSX", "HGST", 4, 0},
        {"XGST", "HGST", 4, 0},
        {"hgst", "HGST", 4, 0},
        {"HGST HUS", "HGST", 5, 0},     // the prefix's terminator is no blank
        {"HGST", "HGST HUS", 4, 1},
        {"", "", 0, 1},
        {"", "HGST", 0, 1},
        {"abc", "xyz", 0, 1},
        {"", "HGST", 1, 0},
        {"abc", "abc", 0xFFFFFFFF, 0},
        {long_text, long_text, 64, 1},
        {long_text, long_text, 65, 0},  // looked at for 64 characters
        {long_text.substr(0, 63), long_text, 64, 0},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(findPchFirstSonStrInString(row.text.c_str(), row.prefix.c_str(), row.length), row.result)
            << row.text << ", " << row.prefix << ", " << row.length;
    }
}

// --- models as disks report them -----------------------------------------------------------------------------------

struct Models {
    const char *vendor;  // what "ATA" becomes
    std::vector<const char *> models;
};

const std::vector<Models> &RealModels() {
    static const std::vector<Models> models = {
        {"Seagate",
         {"SEAGATE ST3000NM0033", "SEAGATE ST4000NM0035", "SEAGATE ST8000NM0055", "SEAGATE ST1000NX0313",
          "SEAGATE ST2000NM0008", "SEAGATE ST12000NM0007", "SEAGATE XA480LE10063", "SEAGATE XA960ME10063",
          "Seagate ST500DM002", "Seagate IronWolf ZA960NM10001",
          "Seagate FireCuda 120 ZA1000GM", "Seagate XF1230-1A0480", "seagate st2000lm015", "SEAGATE_ST6000NM0115"}},
        {"Toshiba",
         {"TOSHIBA MG03ACA100",       "TOSHIBA MG03ACA400",      "TOSHIBA MG04ACA200E",    "TOSHIBA MG04ACA400N",
          "TOSHIBA MG04ACA600E",      "TOSHIBA MG05ACA800E",     "TOSHIBA MG06ACA10TE",    "TOSHIBA MG07ACA14TE",
          "TOSHIBA MG08ACA16TE",      "TOSHIBA MG09ACA18TE",     "TOSHIBA MG10ACA20TE",    "TOSHIBA DT01ACA050",
          "TOSHIBA DT01ACA100",       "TOSHIBA DT01ACA300",      "TOSHIBA DT02ABA400",     "TOSHIBA HDWD110",
          "TOSHIBA HDWE140",          "TOSHIBA HDWN180",         "TOSHIBA HDWG21C",        "TOSHIBA HDWQ140",
          "TOSHIBA MQ01ABD100",       "TOSHIBA MQ01ABF050",      "TOSHIBA MQ04ABF100",     "TOSHIBA MQ04UBB400",
          "TOSHIBA MK5065GSX",        "TOSHIBA MK1059GSM",       "TOSHIBA MK2555GSX",      "TOSHIBA THNSNJ256GCSU",
          "TOSHIBA THNSNJ480PCSZ",    "TOSHIBA THNSN8480PCSE",   "TOSHIBA THNSN81Q92CSE",  "TOSHIBA THNSFJ256GDNU",
          "TOSHIBA Q300 Pro.",        "TOSHIBA-TR200",           "TOSHIBA-TL100",          "TOSHIBA A100",
          "Toshiba KHK61RSE960G",     "toshiba dt01aca200"}},
        {"Intel",
         {"INTEL SSDSA2M080G2GC",  "INTEL SSDSA2M160G2GC",  "INTEL SSDSA2CW160G3",  "INTEL SSDSA2CW300G3",
          "INTEL SSDSA2BW160G3H",  "INTEL SSDSA2BZ100G3",   "INTEL SSDSC2CT120A3",  "INTEL SSDSC2CW240A3",
          "INTEL SSDSC2BB080G4",   "INTEL SSDSC2BB160G4",   "INTEL SSDSC2BB240G4",  "INTEL SSDSC2BB300G4",
          "INTEL SSDSC2BB480G4",   "INTEL SSDSC2BB600G4",   "INTEL SSDSC2BB800G4",  "INTEL SSDSC2BB120G6",
          "INTEL SSDSC2BB480G6",   "INTEL SSDSC2BB016T6",   "INTEL SSDSC2BB150G7",  "INTEL SSDSC2BB960G7",
          "INTEL SSDSC2BA100G3",   "INTEL SSDSC2BA200G3",   "INTEL SSDSC2BA400G3",  "INTEL SSDSC2BA800G4",
          "INTEL SSDSC2BX200G4",   "INTEL SSDSC2BX016T4",   "INTEL SSDSC2BW240H6",  "INTEL SSDSC2KB240G7",
          "INTEL SSDSC2KB480G8",   "INTEL SSDSC2KB960GZ",   "INTEL SSDSC2KB038T8",  "INTEL SSDSC2KG240G7",
          "INTEL SSDSC2KG960G8",   "INTEL SSDSC2KG019T8",   "INTEL SSDSC2KW256G8",  "INTEL SSDSC2KW512H6",
          "INTEL SSDSCKKB240G8",   "INTEL SSDSCKJB150G7",   "INTEL SSDSCKKW256H6",  "INTEL SSDMCEAC120B3",
          "Intel SSD 535 Series",  "intel ssdsc2kb240g8"}},
        {"Samsung",
         {"SAMSUNG HD103SJ",             "SAMSUNG HD204UI",             "SAMSUNG HD502HJ",
          "SAMSUNG HD753LJ",             "SAMSUNG HM321HI",             "SAMSUNG SP2504C",
          "SAMSUNG SSD PM800 2.5\" 128G", "SAMSUNG SSD 830 Series",      "SAMSUNG SSD SM841N 2.5\" 256G",
          "SAMSUNG MZ7WD240HAFV-00003",  "SAMSUNG MZ7WD480HAGM-00003",  "SAMSUNG MZ7GE480HMHP-00003",
          "SAMSUNG MZ7LM240HCGR-00003",  "SAMSUNG MZ7LM480HCHP-00003",  "SAMSUNG MZ7LM960HCHP-00003",
          "SAMSUNG MZ7LM1T9HCJM-00003",  "SAMSUNG MZ7LM3T8HCJM-00003",  "SAMSUNG MZ7KM240HAGR-00005",
          "SAMSUNG MZ7KM480HAHP-00005",  "SAMSUNG MZ7KM960HAHP-00005",  "SAMSUNG MZ7KH240HAHQ-00005",
          "SAMSUNG MZ7KH1T9HAJR-00005",  "SAMSUNG MZ7LH240HAHQ-00005",  "SAMSUNG MZ7LH480HAHQ-00005",
          "SAMSUNG MZ7LH960HAJR-00005",  "SAMSUNG MZ7LH3T8HMLT-00005",  "SAMSUNG MZ7L3240HCHQ-00A07",
          "SAMSUNG MZ7L3480HCHQ-00A07",  "SAMSUNG MZ7L3960HCJR-00A07",  "SAMSUNG MZ7L37T6HBLA-00A07",
          "SAMSUNG MZNLN256HMHQ-000H1",  "SAMSUNG MZVLB256HAHQ-000L7",  "SAMSUNG MZ7TE256HMHP-00000",
          "SAMSUNG MZ7TD256HAFV-000L7",  "Samsung SSD 840 EVO 250GB",   "Samsung SSD 840 PRO Series",
          "Samsung SSD 840 Series",      "Samsung SSD 845DC EVO 240GB", "Samsung SSD 845DC PRO 400GB",
          "Samsung SSD 850 EVO 500GB",   "Samsung SSD 850 PRO 1TB",     "Samsung SSD 860 EVO 1TB",
          "Samsung SSD 860 EVO M.2 500GB", "Samsung SSD 860 PRO 256GB",  "Samsung SSD 860 QVO 4TB",
          "Samsung SSD 870 EVO 2TB",     "Samsung SSD 870 QVO 8TB",     "Samsung SSD 883 DCT 960GB",
          "Samsung SSD 750 EVO 120GB",   "Samsung Portable SSD T5",     "SamSung SM863a 480GB",
          "samsung mz7lh960"}},
        {"Micron",
         {"Micron_M500_MTFDDAK240MAV",  "Micron_M500DC_MTFDDAK120MBB", "Micron_M510_MTFDDAK256MAZ",
          "Micron_M510DC_MTFDDAK480MBP", "Micron_M550_MTFDDAK512MAY",   "Micron_M600_MTFDDAK1T0MBF",
          "Micron_1100_MTFDDAK256TBN",  "Micron_1100_MTFDDAK2T0TBN",   "Micron_1300_MTFDDAK512TDL",
          "Micron_5100_MTFDDAK240TCC",  "Micron_5100_MTFDDAK480TCC",   "Micron_5100_MTFDDAK960TCB",
          "Micron_5100_MTFDDAK3T8TCB",  "Micron_5200_MTFDDAK480TDC",   "Micron_5200_MTFDDAK960TDN",
          "Micron_5200_MTFDDAK1T9TDC",  "Micron_5200_MTFDDAK7T6TDC",   "Micron_5210_MTFDDAK1T9QDE",
          "Micron_5210_MTFDDAK7T6QDE",  "Micron_5300_MTFDDAK240TDS",   "Micron_5300_MTFDDAK480TDT",
          "Micron_5300_MTFDDAK3T8TDS",  "Micron_5300HC_MTFDDAK960TDS", "Micron_5300_MTFDDAV480TDS",
          "Micron_5400_MTFDDAK480TGA",  "Micron_5400_MTFDDAK960TGB",   "Micron_5400_MTFDDAK7T6TGA",
          "Micron_P400e-MTFDDAK100MAR", "Micron P400m-MTFDDAK200MAN",  "MICRON_M600_MTFDDAV256MBF",
          "MICRON 5300 MAX",            "micron_5200_mtfddak480tdn"}},
        {"HGST",
         {"HGST HTS541010A9E680", "HGST HTS545050A7E680", "HGST HTS721010A9E630", "HGST HTE725050A7E630",
          "HGST HDN724040ALE640", "HGST HDN726040ALE614", "HGST HDN728080ALE604", "HGST HDS5C4040ALE630",
          "HGST HDS724040ALE640", "HGST HMS5C4040BLE640", "HGST HUS722T1TALA604", "HGST HUS722T2TALA604",
          "HGST HUS724020ALA640", "HGST HUS724040ALE640", "HGST HUS726020ALE610", "HGST HUS726040ALE614",
          "HGST HUS726060ALE610", "HGST HUS726T4TALA6L4", "HGST HUS726T6TALE6L4", "HGST HUS728T8TALE6L4",
          "HGST HUH721008ALE600", "HGST HUH721010ALE600", "HGST HUH721212ALE600", "HGST HUH728080ALE600",
          "HGST HSH721414ALE6M0", "hgst hus726040ale614", "Hgst HUS724030ALE640"}},
        {"HITACHI", {"HITACHI HTS543232A7A384", "HITACHI HUA723030ALA640", "HITACHI_DK23EA-60", "HITACHI_HTS7212"}},
        {"KIOXIA",
         {"KIOXIA-EXCERIA SATA SSD", "KIOXIA EXCERIA SATA SSD 480GB", "KIOXIA KHK61RSE480G", "KIOXIA KHK61RSE1T92",
          "KIOXIA HK6-R", "KIOXIA SG6 512GB", "kioxia exceria 960", "KioXia HK6-V", "Kioxia SG6-D"}},
        {"Memblaze", {"MEMBLAZE PBlaze5", "MemBlaze P5910", "memblaze p6530", "Memblaze PBlaze4 SATA"}},
        {"WD", {"WESTDIGI WD4000FYYZ", "WESTDIGI WD2005FBYZ", "WestDigi HUS722T2TALA604", "westdigi wd60efrx"}},
        {"DERA", {"DERA D5437", "DERA D7456", "dera d5457", "Dera D7436"}},
        {"DapuStor", {"DAPUSTOR R5100", "DAPUSTOR H3200", "dapustor r5300", "Dapustor X2900"}},
        {"GOKE", {"GOKE GK2302", "GOKE GK2301V100 480G", "goke gk2302v300", "Goke 2311"}},
        {"MAXIO", {"MAXIO MAS0902", "MAXIO MAS1102 960G", "maxio mas0901"}},
        {"YMTC", {"YMTC SC001 256GB", "YMTC SC001 Active 1TB", "YMTC PC210", "ymtc sc001 512gb"}},
        {"SAGE", {"SAGE S800 480G", "SAGE S881", "sage s800"}},
        {"SSSTC", {"SSSTC CVB-8D128", "SSSTC CVB-8D256-HP", "SSSTC ER2-GD480", "SSSTC ER3-CD960", "SSSTC ERA-AD240"}},
        {"ATA",
         {// Barracuda, Constellation, Exos and others report the bare type
          "ST31000528AS", "ST3500418AS", "ST3250312AS", "ST9500325AS", "ST1000DM003-1CH162", "ST2000DM001-1ER164",
          "ST3000DM001-1CH166", "ST4000DM004-2CV104", "ST8000DM004-2CX188", "ST500LM000-1EJ162",
          "ST1000LM024 HN-M101MBB",
          "ST2000LM007-1R8174", "ST1000NM0011", "ST1000NM0033-9ZM173", "ST2000NM0033-9ZM175", "ST3000NM0033-9ZM178",
          "ST4000NM0033-9ZM170", "ST4000NM0035-1V4107", "ST6000NM0024-1HT17Z", "ST8000NM0055-1RM112",
          "ST10000NM0016-1TT101", "ST12000NM0007-2A1101", "ST14000NM001G-2KJ103", "ST16000NM001G-2KK103",
          "ST18000NM000J-2TV103", "ST20000NM007D-3DJ103", "ST4000VN008-2DR166", "ST8000VN0022-2EL112",
          "ST12000VN0007-2GS116", "ST6000VX0023-2EF110", "XA480LE10063", "XA960ME10063", "ZA500CM10003",
          "ZA1000NM10001", "XF1230-1A0240",
          // makers and spellings that the table does not have
          "WDC WD10EZEX-08WN4A0", "WDC WD10JPVX-22JC3T0", "WDC WD1002FAEX-00Z3A0", "WDC WD1003FBYX-01Y7B1",
          "WDC WD2000FYYZ-01UL1B1", "WDC WD2005FBYZ-01YCBB2", "WDC WD20EARX-00PASB0", "WDC WD30EFRX-68EUZN0",
          "WDC WD40EFRX-68N32N0", "WDC WD4000FYYZ-01UL1B1", "WDC WD40EZRZ-00GXCB0", "WDC WD60EFAX-68SHWN0",
          "WDC WD80EFAX-68KNBN0", "WDC WD101KRYZ-01JPDB0", "WDC WD121KFBX-68EF5N0", "WDC WDS100T2B0A-00SM50",
          "WDC WDS240G2G0A-00JH30", "WDC WDS500G1B0A-00H9H0", "WDC  WUH721414ALE6L4", "WDC  WUH721818ALE6L4",
          "WD Blue SA510 2.5 1000GB", "WD Red SA500 2.5 2TB", "WDC  WUS721010ALE6L4",
          "Hitachi HDS721010CLA332", "Hitachi HDS722020ALA330", "Hitachi HDS723030ALA640",
          "Hitachi HDT721010SLA360",
          "Hitachi HTS545050A7E380", "Hitachi HTS725050A9A364", "Hitachi HUA722010CLA330",
          "Hitachi HUA723020ALA640",
          "HUS724040ALA640", "HUH721212ALE604",
          "CT120BX500SSD1", "CT240M500SSD1", "CT250MX500SSD1", "CT256MX100SSD1", "CT480BX200SSD1", "CT500MX500SSD1",
          "CT512M550SSD1", "CT1000BX500SSD1", "CT1000MX500SSD1", "CT2000MX500SSD1", "Crucial_CT256MX100SSD1",
          "Crucial_CT525MX300SSD1", "Crucial_CT1050MX300SSD1", "C300-CTFDDAC128MAG", "M4-CT256M4SSD2",
          "MTFDDAK480TDS-1AW1ZABYY", "MTFDDAV240TCB-1AR1ZABYY", "MTFDDAK960MBB",
          "KINGSTON SV300S37A120G", "KINGSTON SUV400S37240G", "KINGSTON SUV500480G", "KINGSTON SA400S37240G",
          "KINGSTON SA400M8240G", "KINGSTON SEDC400S37480G", "KINGSTON SEDC500M960G", "KINGSTON SEDC500R1920G",
          "KINGSTON SEDC600M480G", "KINGSTON SHFS37A240G", "KINGSTON SKC400S37256G", "KINGSTON SKC600512G",
          "KINGSTON SMS200S3120G", "KINGSTON RBUSNS8180S3128GI",
          "SanDisk SD6SB1M128G1022I", "SanDisk SD7SB6S256G1122", "SanDisk SD8SBAT128G1122",
          "SanDisk SD8SN8U256G1122",
          "SanDisk SDSSDA240G", "SanDisk SDSSDH3512G", "SanDisk SDSSDHII480G", "SanDisk SDSSDXPS480G",
          "SanDisk SSD PLUS 240GB", "SanDisk Ultra II 960GB", "SATADOM-SL 3ME3", "SATADOM-ML 3IE3 V2",
          "SuperMicro SSD", "SATA SSD", "SATA3 240GB SSD", "SSD 128GB", "M.2 (S80) 3ME4",
          "SK hynix SC300 SATA 256GB", "SK hynix SC311 SATA 512GB", "SK hynix SC401 SATA 256GB",
          "SK hynix SH920 2.5 7MM",
          "SKHynix_HFS256G39TND-N210A", "HFS250G32TND-N1A2A", "HFS480G3H2X069N", "HFS960G32FEH-BA10A",
          "HFS1T9G3H2X069N", "HYNIX HFS128G39TNF", "Dell Express Flash SATA",
          "LITEON CV3-8D256", "LITEON IT LCS-256L9S-11", "LITEONIT LCS-128M6S 2.5 7mm", "LITEON LCH-128V2S",
          "LITEONIT LAT-256M3S", "PLEXTOR PX-128M5S", "PLEXTOR PX-256M5 Pro", "PLEXTOR PX-256M8VC",
          "PLEXTOR PX-512M6Pro",
          "OCZ-VERTEX3", "OCZ-VERTEX4", "OCZ-AGILITY3", "OCZ-ARC100", "OCZ INTREPID 3600", "OCZ-TRION150", "TR150",
          "Corsair Force 3 SSD", "Corsair Force LE SSD", "Corsair Neutron GTX SSD", "Corsair CSSD-F120GB2",
          "ADATA SP550", "ADATA SP900", "ADATA SU650", "ADATA SU800", "ADATA SX900", "ADATA IMSS332",
          "TS128GSSD370S", "TS256GMTS400", "TS256GSSD230S", "TS512GSSD720", "TS240GSSD220S", "TS1TSSD230S",
          "APACER AS340 240GB", "Apacer AS350 256GB", "INNODISK 3MG2-P", "2.5\" SATA SSD 3MG2-P",
          "2.5\" SATA SSD 3ME4",
          "Patriot Blast", "Patriot Burst", "Patriot P210 512GB", "PNY CS900 240GB SSD", "PNY CS1311 240GB SSD",
          "TEAM T253X1240G", "T-FORCE 250GB", "GIGABYTE GP-GSTFS31240GNTD", "Netac SSD 480GB", "FORESEE 256GB SSD",
          "BIWIN SSD", "Colorful SL500 240GB", "Lexar 240GB SSD", "Lexar SSD NS100 512GB", "INTENSO SSD",
          "Intenso SATA III SSD", "KingSpec KSD-SA25.6-128MS", "KingDian S280-240GB", "KINGMAX SSD 240GB",
          "SPCC Solid State Disk", "SPCC M.2 SSD", "SILICON MOTION SM2246", "MUSHKIN MKNSSDCR240GB",
          "Verbatim Vi550 S3",
          "SMART SRA25 480GB", "SMARTMODULAR FRN", "Swissbit X-60m2", "VIRTIUM VTSM24", "ATP SATA III A600",
          "DELLBOSS VD", "MARVELL Raid VD", "VBOX HARDDISK", "QEMU HARDDISK", "VMware Virtual SATA",
          "MAXTOR STM3250310AS", "Maxtor 6Y080L0", "MAXTOR 6L250S0", "FUJITSU MHZ2320BH G2", "FUJITSU MJA2500BH G2",
          "QUANTUM FIREBALLlct10", "IBM-DJSA-220", "IC35L060AVV207-0", "ExcelStor Technology J8160S",
          "APPLE SSD SM0256F", "APPLE SSD TS128E", "APPLE HDD ST1000DM003", "APPLE HDD HTS541010A9E662",
          "HP SSD S700 500GB", "MB2000GCWDA", "MB4000GCWDC", "VK000240GWSRQ", "VK000480GWTHA", "LK0480GFJSK",
          "MK000960GWXFH", "THNSNJ128GCSU", "MZ7LN256HCHP-000L7", "MZ7TY256HDHP-000L7", "SSDSC2BB120G4",
          "SSDSC2KB480G8R", "SSDSCKJB240G7R", "DOGFISH SSD 128GB", "ZALMAN SSD0128S1", "KLEVV NEO N400",
          "PHISON SATA SSD", "Phison PS3111-S11", "UMIS RPITJ256VED2MWX", "UnionMemory RPETJ512", "RAMAXEL S210",
          "Ramaxel RTITF256VEJ", "SMI SSD", "YEESTOR YS9083", "YANGTZE PC005", "Longsys FS", "HUADIAN HD-SSD",
          "GALAX TA1D0240A", "EAGET S500", "ORICO", "AEGO SSD", "VASEKY V800-128G", "Goldenfir T650-256GB",
          // their maker's prefix, but 32 characters and more
          "Seagate BarraCuda SSD ZA500CM1000", "SAMSUNG SSD SM841N mSATA 512GB 03X4521",
          "Seagate BarraCuda 120 SSD ZA500CM10003",
          "TOSHIBA THNSNJ256GCSY 2.5-inch 7mm SSD", "INTEL SSDSC2BB480G7 (Dell Certified 480)",
          "Micron_5100_MTFDDAK960TCB-1AR1ZABYY_PRO"}},
    };
    return models;
}

TEST(AtaVendor, RealModelsGetTheirMakers) {
    std::set<std::string> seen;
    for (const Models &group : RealModels()) {
        for (const char *model : group.models) {
            EXPECT_TRUE(seen.insert(model).second) << model << " is listed twice";
            EXPECT_LE(strlen(model), 40u) << model;
            EXPECT_EQ(VendorOf(model), group.vendor) << model;
        }
    }
    EXPECT_GE(seen.size(), 300u);
    for (const Row &row : kRows) {
        EXPECT_TRUE(std::any_of(seen.begin(), seen.end(), [&](const std::string &model) {
            return model.rfind(row.prefix, 0) == 0;
        })) << "no model begins with " << row.prefix;
    }
}

}  // namespace

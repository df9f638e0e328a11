// The tests of the store step and of the program work on a shared area of their own, which all of them share in turn.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    std::string root = (std::filesystem::temp_directory_path() / "mwcollect-area-XXXXXX").string();
    if (mkdtemp(root.data()) == nullptr || setenv("MIDWARE_ROOT", root.c_str(), 1) != 0) return 1;
    const int result = RUN_ALL_TESTS();
    std::filesystem::remove_all(root);
    return result;
}

// The tests of the store step and of the program work on a shared area of their own, which all of them share
// in turn.
#include "tree.h"

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    const collect::Tree root;
    if (setenv("MIDWARE_ROOT", root.top().c_str(), 1) != 0) return 1;
    return RUN_ALL_TESTS();
}

/* What every process pays. */
#include <stdio.h>

int main(int argc, char **argv) {
    static char line[256];
    FILE *file;
    (void)argv;
    if (argc < 2) return 0;
    file = fopen("/proc/self/smaps_rollup", "re");
    while (file != NULL && fgets(line, sizeof line, file) != NULL) fputs(line, stdout);
    return 0;
}

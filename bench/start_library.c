/* A process with one call of the library, or with what its argument says: load, call, create, attach, memory-load,
 * memory-call, memory-all. */
#include <midware.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

static double Now(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec * 1e9 + (double)now.tv_nsec;
}

static void PrintMemory(void) {
    static char line[256];
    FILE *file = fopen("/proc/self/smaps_rollup", "re");
    while (file != NULL && fgets(line, sizeof line, file) != NULL) fputs(line, stdout);
}

/* Every page of the area, as readers of every record touch them. */
static void ReadAll(void) {
    const volatile char *area = g_ptMemCollectAddr;
    unsigned i;
    for (i = 0; i < MW_AREA_SIZE; i += 1024) (void)area[i];
}

int main(int argc, char **argv) {
    const char *what = argc > 1 ? argv[1] : "call";
    uint32_t count = 0;
    double start;
    if (strcmp(what, "load") == 0) return 0;
    if (strcmp(what, "create") == 0) {
        start = Now();
        if (MW_MidWareInit() != 0) return 1;
        printf("%.0f\n", Now() - start);
        return 0;
    }
    if (strcmp(what, "attach") == 0) {
        double between, end;
        start = Now();
        if (MW_GetMemCount(&count) != 0) return 1;
        between = Now();
        if (MW_GetMemCount(&count) != 0) return 1;
        end = Now();
        printf("%.0f %.0f\n", between - start, end - between);
        return 0;
    }
    if (strcmp(what, "memory-load") != 0 && MW_GetMemCount(&count) != 0) return 1;
    if (strcmp(what, "memory-all") == 0) ReadAll();
    if (strncmp(what, "memory", 6) == 0) PrintMemory();
    return 0;
}

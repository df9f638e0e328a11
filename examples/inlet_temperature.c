/* A collector: takes one temperature from the kernel and stores it as the board's first inlet temperature.
 *
 *     inlet_temperature /sys/class/hwmon/hwmon0/temp1_input [SECONDS]
 *
 * Once, or every SECONDS seconds until it is ended. */
#include <midware.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

/* hwmon counts in thousandths of a degree, the record in tenths. */
static int read_tenths(const char *path, int16_t *tenths)
{
    FILE *file = fopen(path, "r");
    long thousandths = 0;
    int read = 0;

    if (file != NULL) {
        read = fscanf(file, "%ld", &thousandths) == 1 && thousandths >= -128000 && thousandths <= 255000;
        fclose(file);
    }
    *tenths = (int16_t)(thousandths / 100);
    return read;
}

int main(int argc, char **argv)
{
    /* 127 and -128: no thresholds but the upper two. */
    InletTempReading inlet = {.cUpperNonCritical = 40, .cUpperCritical = 45, .cLowerNonCritical = -128,
                              .cLowerCritical = -128, .acSensorName = "Inlet"};
    const int seconds = argc == 3 ? atoi(argv[2]) : 0;

    if (argc < 2 || argc > 3 || seconds < 0) {
        fprintf(stderr, "usage: %s SENSOR_FILE [SECONDS]\n", argv[0]);
        return 2;
    }
    do {
        /* A sensor that fails stays in its place and says so: readers must not take an old value for a new one. */
        inlet.ucPresent = (uint8_t)read_tenths(argv[1], &inlet.sTemp);
        if (!inlet.ucPresent) {
            fprintf(stderr, "%s: no temperature\n", argv[1]);
            inlet.sTemp = 0;
        }
        /* 0, or -1 with nothing stored: no shared area, or its semaphore was not had in time. */
        if (MW_SetInletTempInfo(&inlet) != 0 || MW_SetInletTempCnt(1) != 0) {
            fprintf(stderr, "not stored: has midware-init run?\n");
            return 1;
        }
    } while (seconds > 0 && sleep((unsigned)seconds) == 0);
    return inlet.ucPresent ? 0 : 1;
}

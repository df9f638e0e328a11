/* A reader: prints the inlet and processor temperatures that collectors have stored. */
#include <midware.h>
#include <stdio.h>

int main(void)
{
    InletTempInfo inlets;
    CpuTempInfo cpus[8]; /* a list getter copies up to the module's maximum */
    uint32_t cpu_count, i;

    /* The first call attaches; any later one fails only when a semaphore is not had in time. */
    if (MW_GetInletTempInfo(&inlets) != 0 || MW_GetCpuTempInfo(cpus, &cpu_count) != 0) {
        fprintf(stderr, "no records: has midware-init run?\n");
        return 1;
    }
    for (i = 0; i < inlets.dwInletTempCnt && i < MW_INLET_TEMP_MAX; i++) {
        const InletTempReading *inlet = &inlets.atInletTemp[i];
        if (inlet->ucPresent == 1)
            printf("%.15s: %.1f degrees Celsius\n", inlet->acSensorName, inlet->sTemp / 10.0);
        else
            printf("%.15s: no reading\n", inlet->acSensorName);
    }
    for (i = 0; i < cpu_count; i++) {
        if (cpus[i].dwTempValid == 1)
            printf("CPU %u: %d degrees Celsius\n", (unsigned)i, (int)cpus[i].iCurTemp);
        else
            printf("CPU %u: no reading\n", (unsigned)i);
    }
    return 0;
}

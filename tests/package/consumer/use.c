/* Creates the shared area, stores a number and reads it back. Built as C and as C++. */
#include <midware.h>
#include <stdio.h>

int main(void)
{
    NtpInfo ntp;

    if (MW_MidWareInit() != 0 || MW_SetNtpInterval(64) != 0 || MW_GetNtpInfo(&ntp) != 0) {
        fprintf(stderr, "no shared area\n");
        return 1;
    }
    printf("interval %u\n", (unsigned)ntp.dwNtpInterval);
    return 0;
}

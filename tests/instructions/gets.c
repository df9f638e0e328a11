/* Attaches, then calls the getter of one word and the setter a fixed number of times, for counting instructions. */
#include <stdint.h>
#include <stdio.h>

#include "midware.h"

int main(void)
{
    uint32_t status = 0;
    uint32_t i;

    if (MW_MidWareInit() != 0 || MW_SetPowerStatus(1) != 0) {
        fprintf(stderr, "no shared area could be created\n");
        return 1;
    }
    for (i = 0; i < 1000; i++) {
        if (MW_GetPowerStatus(&status) != 0 || status != 1) return 1;
        if (MW_SetPowerStatus(1) != 0) return 1;
    }
    return 0;
}

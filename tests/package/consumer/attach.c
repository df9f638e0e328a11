/* Calls the platform itself: where the area of another process lies. */
#include <midware.h>
#include <oal.h>
#include <stdio.h>

int main(void)
{
    if (OAL_GetMemResourceAddr(MW_AREA_KEY) == NULL || OAL_SemLockByKey(MW_AREA_KEY, 500) != 0)
        return 1;
    puts("attached");
    return OAL_SemUnLockByKey(MW_AREA_KEY, 500) == 0 ? 0 : 1;
}

// What check-kernels has to find: an inline function with external linkage.
inline int PlantedInline(int n) noexcept
{
    return 2 * n;
}

extern int (*const g_pfnPlanted)(int) noexcept;
int (*const g_pfnPlanted)(int) noexcept = PlantedInline;

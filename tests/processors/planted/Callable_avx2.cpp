// What check-kernels has to find: a function with a name that other files can call.
int FillPlantedTable(int* pnTable) noexcept;

int FillPlantedTable(int* pnTable) noexcept
{
    return *pnTable = 2;
}

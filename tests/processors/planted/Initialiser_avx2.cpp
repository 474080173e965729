// What check-kernels has to find: a table that is filled when the program starts.
int MakePlantedTable() noexcept;

extern const int g_plantedTable;
const int g_plantedTable = MakePlantedTable();

bool LoadOLD(const char* path);
bool LoadNEW(const char* path);
bool SaveNEW(const char* path);

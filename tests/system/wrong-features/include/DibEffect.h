struct DEOldInfo {
    int tag;
};
struct DENewInfo {
    int tag;
};
bool DibEffectOld(DEOldInfo* info);
bool DibEffectNew(DENewInfo* info);

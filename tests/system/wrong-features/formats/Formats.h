extern const FileFormat kNewFormat;
extern const FileFormat kDoorOnlyFormat;

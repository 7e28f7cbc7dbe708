// kOldFormat

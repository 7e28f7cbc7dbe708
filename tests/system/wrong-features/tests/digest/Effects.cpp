// DibEffectOld LoadOLD

// DibEffectOld

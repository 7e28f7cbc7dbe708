// DibEffectOld LoadOLD SaveNEW
